#include "runtime/channels/SocketAddress.h"

#include "runtime/channels/AddressLookup.h"
#include "runtime/channels/posix/NativeAddress.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/text/posix/SocketErrors.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>

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
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = what == LookUp::Numbers ? AI_NUMERICHOST : 0;
    addrinfo* results = nullptr;
    const int error = getaddrinfo(ToUtf8(host).c_str(), ToUtf8(service).c_str(), &hints, &results);
    if (error != 0)
        ThrowSocketErrorWithNumber(
            L"GetAddrInfo() failed", L"qpr::SocketAddress::SetRemoteAddress", SocketErrorFromResolver(error));

    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(results, &freeaddrinfo);
    std::vector<SocketAddress> addresses;
    for (const addrinfo* result = results; result; result = result->ai_next)
    {
        if (result->ai_family != AF_INET && result->ai_family != AF_INET6)
            continue;
        NativeAddress native;
        std::memcpy(&native.storage, result->ai_addr, std::min<std::size_t>(result->ai_addrlen, sizeof native.storage));
        addresses.push_back(native.ToSocketAddress());
    }
    return addresses;
}

void KeepLoaded() noexcept
{
    Dl_info library{};
    if (dladdr(reinterpret_cast<const void*>(&KeepLoaded), &library) != 0)
        dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE); // not loaded by name: a program's own code
}

} // namespace qpr
