#pragma once

#include "runtime/text/windows/SystemHeaders.h"
#include "runtime/threads/NativeHandle.h"

namespace qpr
{

using SystemSocket = SOCKET;
using SystemAddressSize = int;

inline constexpr int endReceiving = SD_RECEIVE;
inline constexpr int endSending = SD_SEND;
inline constexpr int endBoth = SD_BOTH;

inline SystemSocket SystemSocketOf(NativeHandle handle) noexcept
{
    return static_cast<SystemSocket>(handle.Value());
}

/// Of the call that failed last on this thread.
inline bool FailedForWantOfConnection() noexcept
{
    return WSAGetLastError() == WSAENOTCONN;
}

/// False when the system refuses.
bool CloseSystemSocket(NativeHandle handle) noexcept;

/// Before a new socket is bound: accepting is never to block, and the address is to be this listener's alone.
void PrepareToListen(NativeHandle handle);

/// Throws "setsockopt() failed".
void SetSocketOption(NativeHandle handle, int level, int option, int value);

} // namespace qpr
