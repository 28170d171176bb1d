#pragma once

#include "runtime/threads/NativeHandle.h"

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

inline SystemSocket SystemSocketOf(NativeHandle handle) noexcept
{
    return static_cast<SystemSocket>(handle.Value());
}

/// Of the call that failed last on this thread.
inline bool FailedForWantOfConnection() noexcept
{
    return errno == ENOTCONN;
}

/// False when the system refuses.
bool CloseSystemSocket(NativeHandle handle) noexcept;

/// Before a new socket is bound: accepting is never to block, and the address is to be this listener's alone.
void PrepareToListen(NativeHandle handle);

/// Throws "setsockopt() failed".
void SetSocketOption(NativeHandle handle, int level, int option, int value);

} // namespace qpr
