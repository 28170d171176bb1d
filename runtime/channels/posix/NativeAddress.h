#pragma once

#include "runtime/channels/SocketAddress.h"

#include <sys/socket.h>

namespace qpr
{

/// An address in the form that the system's calls take.
struct NativeAddress
{
    NativeAddress() = default;
    explicit NativeAddress(const SocketAddress& address) noexcept;

    const sockaddr* Get() const noexcept { return reinterpret_cast<const sockaddr*>(&storage); }
    sockaddr* Get() noexcept { return reinterpret_cast<sockaddr*>(&storage); }

    /// Requires: a family that SocketAddress knows.
    SocketAddress ToSocketAddress() const noexcept;

    sockaddr_storage storage{};
    socklen_t size = sizeof(sockaddr_storage);
};

int NativeFamily(SocketAddress::Family family) noexcept;

} // namespace qpr
