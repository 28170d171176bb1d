#pragma once

#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace qpr
{

using SystemSocket = int;
using SystemAddressSize = socklen_t;

inline constexpr int endReceiving = SHUT_RD;
inline constexpr int endSending = SHUT_WR;
inline constexpr int endBoth = SHUT_RDWR;

/// Of the call that failed last on this thread.
inline bool FailedForWantOfConnection() noexcept
{
    return errno == ENOTCONN;
}

} // namespace qpr
