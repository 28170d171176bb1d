#include "runtime/processes/Environment.h"

#include "runtime/text/windows/SystemHeaders.h"

namespace qpr
{

std::optional<std::wstring> EnvironmentVariable(std::wstring_view name)
{
    const std::wstring terminated(name);
    std::wstring value(256, L'\0');
    for (;;)
    {
        SetLastError(ERROR_SUCCESS);
        const DWORD length =
            GetEnvironmentVariableW(terminated.c_str(), value.data(), static_cast<DWORD>(value.size()));
        if (length == 0 && GetLastError() != ERROR_SUCCESS)
            return std::nullopt;
        const bool fits = length < value.size();
        value.resize(length); // with the room for the terminator when it does not fit
        if (fits)
            return value;
    }
}

} // namespace qpr
