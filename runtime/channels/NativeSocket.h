#pragma once

#include "SystemSocket.h" // of posix/ or windows/
#include "runtime/channels/SocketAddress.h"
#include "runtime/threads/NativeHandle.h"

#include <algorithm>
#include <cstring>
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

/// False when the system refuses.
bool CloseSystemSocket(NativeHandle handle) noexcept;

/// Before a new socket is bound: accepting is never to block, and the address is to be this listener's alone.
void PrepareToListen(NativeHandle handle);

/// Throws "setsockopt() failed".
void SetSocketOption(NativeHandle handle, int level, int option, int value);

/// The addresses that the system's resolver found, a linked list, but those of families that SocketAddress does not
/// know.
template <class AddressInfo>
std::vector<SocketAddress> ToSocketAddresses(const AddressInfo* info)
{
    std::vector<SocketAddress> addresses;
    for (; info; info = info->ai_next)
    {
        if (info->ai_family != AF_INET && info->ai_family != AF_INET6)
            continue;
        NativeAddress native;
        std::memcpy(&native.storage, info->ai_addr, std::min<std::size_t>(info->ai_addrlen, sizeof native.storage));
        addresses.push_back(native.ToSocketAddress());
    }
    return addresses;
}

} // namespace qpr
