#include "tools/qx/TextArgument.h"

#include "runtime/channels/FilePath.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/ByteFile.h"
#include "tools/qx/ExitCode.h"

#include <algorithm>
#include <iterator>

namespace qx
{

namespace
{

void AppendEscaped(std::string& text, unsigned char byte)
{
    const char digits[] = "0123456789ABCDEF";
    text += {'\\', 'x', digits[byte >> 4], digits[byte & 0xF]};
}

/// The length of the UTF-8 character that the text begins with, 0 when there is none.
std::size_t CharacterLength(std::string_view text)
{
    for (std::size_t length = 1; length <= std::min<std::size_t>(4, text.size()); ++length)
    {
        const std::string_view character = text.substr(0, length);
        if (qpr::ToUtf8(qpr::FromUtf8(character)) == character)
            return length;
    }
    return 0;
}

} // namespace

std::string ReadTextArgument(const std::string& argument)
{
    if (!argument.starts_with('@'))
        return argument;
    std::ifstream file = OpenToRead(qpr::PathOfArgument(argument.substr(1)));
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

std::string Escaped(std::string_view bytes)
{
    std::string text;
    while (!bytes.empty())
    {
        const auto byte = static_cast<unsigned char>(bytes[0]);
        const std::size_t length = CharacterLength(bytes);
        const bool looksLikeAnEscape = bytes.starts_with("\\x");
        if (length == 0 || looksLikeAnEscape || byte < 0x20 || byte == 0x7F)
            AppendEscaped(text, byte);
        else
            text += bytes.substr(0, length);
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

} // namespace qx
