#include "runtime/channels/NativeSocket.h"

#include "runtime/channels/Socket.h"
#include "runtime/text/Errors.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace qpr
{

int NativeFamily(SocketAddress::Family family) noexcept
{
    return family == SocketAddress::Family::IPv4 ? AF_INET : AF_INET6;
}

NativeAddress::NativeAddress(const SocketAddress& address) noexcept
{
    const auto& bytes = address.Bytes();
    if (address.GetFamily() == SocketAddress::Family::IPv4)
    {
        auto& native = reinterpret_cast<sockaddr_in&>(storage);
        native.sin_family = AF_INET;
        native.sin_port = htons(address.Port());
        std::memcpy(&native.sin_addr, bytes.data(), sizeof native.sin_addr);
        size = sizeof native;
        return;
    }
    auto& native = reinterpret_cast<sockaddr_in6&>(storage);
    native.sin6_family = AF_INET6;
    native.sin6_port = htons(address.Port());
    std::memcpy(&native.sin6_addr, bytes.data(), sizeof native.sin6_addr);
    size = sizeof native;
}

SocketAddress NativeAddress::ToSocketAddress() const noexcept
{
    SocketAddress::AddressBytes bytes{};
    if (storage.ss_family == AF_INET)
    {
        const auto& native = reinterpret_cast<const sockaddr_in&>(storage);
        std::memcpy(bytes.data(), &native.sin_addr, sizeof native.sin_addr);
        return SocketAddress(SocketAddress::Family::IPv4, bytes, ntohs(native.sin_port));
    }
    const auto& native = reinterpret_cast<const sockaddr_in6&>(storage);
    std::memcpy(bytes.data(), &native.sin6_addr, sizeof native.sin6_addr);
    return SocketAddress(SocketAddress::Family::IPv6, bytes, ntohs(native.sin6_port));
}

std::vector<SocketAddress> LookUpAddresses(const std::wstring& host, const std::wstring& service, LookUp what)
{
    const Socket::LibraryUser libraryUser;
    SystemAddressInfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = what == LookUp::Numbers ? AI_NUMERICHOST : 0;
    SystemAddressInfo* results = nullptr;
    const std::uint32_t error = LookUpSystemAddresses(host, service, hints, results);
    if (error != 0)
        ThrowSocketErrorWithNumber(L"GetAddrInfo() failed", L"qpr::SocketAddress::SetRemoteAddress", error);

    const std::unique_ptr<SystemAddressInfo, decltype(&FreeSystemAddresses)> owner(results, &FreeSystemAddresses);
    std::vector<SocketAddress> addresses;
    for (const SystemAddressInfo* info = results; info; info = info->ai_next)
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
