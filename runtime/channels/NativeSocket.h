#pragma once

#include "SystemSocket.h" // of posix/ or windows/
#include "runtime/channels/SocketAddress.h"
#include "runtime/threads/NativeHandle.h"

#include <string>
#include <vector>

// For the sources of this folder alone.
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
    SystemAddressSize size = sizeof(sockaddr_storage);
};

int NativeFamily(SocketAddress::Family family) noexcept;

inline SystemSocket SystemSocketOf(NativeHandle handle) noexcept
{
    return static_cast<SystemSocket>(handle.Value());
}

/// For a new socket before it is bound: accepting must not block, and no other listener may share the address.
void PrepareToListen(NativeHandle handle);

/// 1 when a read would not block, 0 when it would; negative, with the error number set, when the system refuses.
int CountReadable(NativeHandle handle) noexcept;

/// Throws "setsockopt() failed".
void SetSocketOption(NativeHandle handle, int level, int option, int value);

enum class LookUp
{
    Numbers, ///< answers at once; a host that is not a number is not found
    Names, ///< blocks as long as the system's resolver does, and cannot be interrupted
};

/// All that the system's resolver knows for a TCP host and service, in its order, in the families that SocketAddress
/// knows. Throws "GetAddrInfo() failed".
std::vector<SocketAddress> LookUpAddresses(const std::wstring& host, const std::wstring& service, LookUp what);

/// Keeps the library that this code is part of loaded while a thread that nobody waits for runs in it.
void KeepLoaded() noexcept;

} // namespace qpr
