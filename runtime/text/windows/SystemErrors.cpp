#include "runtime/text/SystemErrors.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/text/windows/SystemHeaders.h"

#include <iterator>

namespace qpr
{

std::uint32_t LastSystemError()
{
    return GetLastError();
}

std::uint32_t LastSocketError()
{
    return static_cast<std::uint32_t>(WSAGetLastError());
}

std::uint32_t InvalidTextError() noexcept
{
    return ERROR_NO_UNICODE_TRANSLATION;
}

std::wstring DescribeSignal(std::uint32_t)
{
    return {}; // no process ends by a signal here, and the numbers of other computers differ
}

SystemDescription DescribeSystemError(std::uint32_t error, const void* messageModule)
{
    wchar_t text[1024];
    const auto lookUp = [&](DWORD source, const void* module) {
        return FormatMessageW(source | FORMAT_MESSAGE_IGNORE_INSERTS, module, error, 0, text, std::size(text), nullptr);
    };

    DWORD length = messageModule ? lookUp(FORMAT_MESSAGE_FROM_HMODULE, messageModule) : 0;
    if (length == 0)
        length = lookUp(FORMAT_MESSAGE_FROM_SYSTEM, nullptr);
    if (length == 0)
        return {{}, GetLastError()};
    return {std::wstring(text, length), 0};
}

void FailFast() noexcept
{
    SetErrorMode(GetErrorMode() | SEM_NOGPFAULTERRORBOX);
    RaiseFailFastException(nullptr, nullptr, 0);
    TerminateProcess(GetCurrentProcess(), STATUS_FATAL_APP_EXIT);
    __builtin_unreachable();
}

} // namespace qpr
