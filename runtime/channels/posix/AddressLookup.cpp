#include "runtime/channels/AddressLookup.h"

#include "runtime/channels/NativeSocket.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/text/posix/SocketErrors.h"

#include <dlfcn.h>
#include <memory>
#include <netdb.h>

namespace qpr
{

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
    return ToSocketAddresses(owner.get());
}

void KeepLoaded() noexcept
{
    Dl_info library{};
    if (dladdr(reinterpret_cast<const void*>(&KeepLoaded), &library) != 0)
        dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE); // not loaded by name: a program's own code
}

} // namespace qpr
