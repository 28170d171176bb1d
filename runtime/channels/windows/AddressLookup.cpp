#include "runtime/channels/AddressLookup.h"
#include "runtime/channels/NativeSocket.h"
#include "runtime/channels/Socket.h"
#include "runtime/text/Errors.h"

#include <memory>

namespace qpr
{

std::vector<SocketAddress> LookUpAddresses(const std::wstring& host, const std::wstring& service, LookUp what)
{
    const Socket::LibraryUser libraryUser;
    ADDRINFOW hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = what == LookUp::Numbers ? AI_NUMERICHOST : 0;
    ADDRINFOW* results = nullptr;
    const int error = GetAddrInfoW(host.c_str(), service.c_str(), &hints, &results);
    if (error != 0)
        ThrowSocketErrorWithNumber(
            L"GetAddrInfo() failed", L"qpr::SocketAddress::SetRemoteAddress", static_cast<std::uint32_t>(error));

    const std::unique_ptr<ADDRINFOW, decltype(&FreeAddrInfoW)> owner(results, &FreeAddrInfoW);
    return ToSocketAddresses(owner.get());
}

void KeepLoaded() noexcept
{
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
        reinterpret_cast<const wchar_t*>(&KeepLoaded), &library);
}

} // namespace qpr
