#pragma once

#include <cstdint>

namespace qpr
{

/// An errno value in the numbering of the socket error table.
std::uint32_t SocketErrorFromErrno(int error) noexcept;

/// A result of getaddrinfo in the same numbering. Reads errno where the result refers to it.
std::uint32_t SocketErrorFromResolver(int result) noexcept;

} // namespace qpr
