#include "runtime/processes/Environment.h"

#include "runtime/text/Utf8.h"

#include <cstdlib>

namespace qpr
{

std::optional<std::wstring> EnvironmentVariable(std::wstring_view name)
{
    const char* const value = std::getenv(ToUtf8(name).c_str());
    if (!value)
        return std::nullopt;
    return FromUtf8(value);
}

} // namespace qpr
