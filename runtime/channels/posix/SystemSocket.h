#pragma once

#include "runtime/text/Utf8.h"
#include "runtime/text/posix/SocketErrors.h"

#include <cerrno>
#include <cstdint>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>

namespace qpr
{

using SystemSocket = int;
using SystemAddressSize = socklen_t;
using SystemAddressInfo = addrinfo;

inline constexpr int endReceiving = SHUT_RD;
inline constexpr int endSending = SHUT_WR;
inline constexpr int endBoth = SHUT_RDWR;

/// Whether the call that failed last on this thread did so because the socket is not connected.
inline bool FailedForWantOfConnection() noexcept
{
    return errno == ENOTCONN;
}

/// The socket error, or 0 and a list to be freed.
inline std::uint32_t LookUpSystemAddresses(
    const std::wstring& host, const std::wstring& service, const addrinfo& hints, addrinfo*& results)
{
    const int error = getaddrinfo(ToUtf8(host).c_str(), ToUtf8(service).c_str(), &hints, &results);
    return error == 0 ? 0 : SocketErrorFromResolver(error);
}

inline void FreeSystemAddresses(addrinfo* results) noexcept
{
    freeaddrinfo(results);
}

} // namespace qpr
