#pragma once

#include "runtime/text/windows/SystemHeaders.h"

#include <cstdint>
#include <string>

namespace qpr
{

using SystemSocket = SOCKET;
using SystemAddressSize = int;
using SystemAddressInfo = ADDRINFOW;

inline constexpr int endReceiving = SD_RECEIVE;
inline constexpr int endSending = SD_SEND;
inline constexpr int endBoth = SD_BOTH;

/// Whether the call that failed last on this thread did so because the socket is not connected.
inline bool FailedForWantOfConnection() noexcept
{
    return WSAGetLastError() == WSAENOTCONN;
}

/// The socket error, or 0 and a list to be freed.
inline std::uint32_t LookUpSystemAddresses(
    const std::wstring& host, const std::wstring& service, const ADDRINFOW& hints, ADDRINFOW*& results)
{
    return static_cast<std::uint32_t>(GetAddrInfoW(host.c_str(), service.c_str(), &hints, &results));
}

inline void FreeSystemAddresses(ADDRINFOW* results) noexcept
{
    FreeAddrInfoW(results);
}

} // namespace qpr
