#pragma once

#include "runtime/text/windows/SystemHeaders.h"

namespace qpr
{

using SystemSocket = SOCKET;
using SystemAddressSize = int;

inline constexpr int endReceiving = SD_RECEIVE;
inline constexpr int endSending = SD_SEND;
inline constexpr int endBoth = SD_BOTH;

/// Of the call that failed last on this thread.
inline bool FailedForWantOfConnection() noexcept
{
    return WSAGetLastError() == WSAENOTCONN;
}

} // namespace qpr
