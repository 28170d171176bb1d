#include "tools/qx/TextArgument.h"

#include "runtime/InputFile.h"
#include "runtime/Utf8.h"
#include "tools/qx/ExitCode.h"

#include <iterator>

namespace qx
{

std::string ReadTextArgument(const std::string& argument)
{
    if (!argument.starts_with('@'))
        return argument;
    std::ifstream file = qpr::OpenInputFile(qpr::FromUtf8(argument.substr(1)));
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::map<std::wstring, std::wstring> ParseKeyValues(const std::vector<std::string>& arguments)
{
    std::map<std::wstring, std::wstring> values;
    for (const std::string& argument : arguments)
    {
        const std::size_t separator = argument.find('=');
        if (separator == std::string::npos || separator == 0)
            throw WrongCommandLine("'" + argument + "' is not KEY=VALUE");
        values[qpr::FromUtf8(argument.substr(0, separator))] = qpr::FromUtf8(argument.substr(separator + 1));
    }
    return values;
}

} // namespace qx
