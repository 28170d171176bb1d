#pragma once

#include "runtime/SocketAddress.h"

#include <string>
#include <vector>

namespace qpr
{

/// What the system's resolver knows for a TCP host and service, of all families, in its order. For SocketAddress;
/// throws "GetAddrInfo() failed".
std::vector<SocketAddress> LookUpAddresses(const std::wstring& host, const std::wstring& service);

} // namespace qpr
