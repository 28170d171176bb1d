#pragma once

#include "runtime/channels/SocketAddress.h"

#include <string>
#include <vector>

namespace qpr
{

enum class LookUp
{
    Numbers, ///< answers at once: a host that is no number is not found
    Names, ///< blocks as long as the system's resolver does, and cannot be interrupted
};

/// What the system's resolver knows for a TCP host and service, of all families, in its order. For SocketAddress;
/// throws "GetAddrInfo() failed".
std::vector<SocketAddress> LookUpAddresses(const std::wstring& host, const std::wstring& service, LookUp what);

/// Keeps the library that this code is part of from being unloaded while a thread that nobody waits for runs in it.
void KeepLoaded() noexcept;

} // namespace qpr
