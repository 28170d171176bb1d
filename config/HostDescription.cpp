#include "config/HostDescription.h"

#include "config/Arguments.h"
#include "runtime/text/Errors.h"
#include "runtime/text/TextValues.h"

#include <algorithm>
#include <locale>
#include <map>
#include <sstream>

namespace qxm
{

namespace
{

/// A double quote would end the quoted value and cannot be escaped.
std::wstring Quoted(std::wstring text)
{
    std::ranges::replace(text, L'"', L'\'');
    return L"\"" + text + L"\"";
}

/// The text form of a version, its bitness included.
Version ParseVersion(const std::wstring& text)
{
    constexpr std::wstring_view bitnessSuffix = L"-bit)";
    const std::size_t bitness = text.find(L" (");
    if (bitness == std::wstring::npos || !text.ends_with(bitnessSuffix))
        return Version::Parse(text, L"");
    const std::size_t digits = bitness + 2;
    return Version::Parse(
        text.substr(0, bitness) + L"." + text.substr(digits, text.size() - bitnessSuffix.size() - digits), L"");
}

std::uint64_t ParseMB(const std::wstring& text)
{
    return qpr::ParseQuantity(text, qpr::UnitKind::Memory, L"") / bytesPerMB;
}

using ValueReader = void (*)(HostDescription& host, const std::wstring& text);

/// The keys of a line and where their values go.
const std::map<std::wstring, ValueReader>& ValueReaders()
{
    using Host = HostDescription;
    using Text = const std::wstring&;
    static const std::map<std::wstring, ValueReader> readers = {
        {L"Version", [](Host& host, Text text) { host.version = ParseVersion(text); }},
        {L"HostName", [](Host& host, Text text) { host.hostName = text; }},
        {L"ProcessId", [](Host& host, Text text) { host.processId = qpr::ParseUInt32(text, L""); }},
        {L"UserName", [](Host& host, Text text) { host.userName = text; }},
        {L"OSType", [](Host& host, Text text) { host.osType = OSTypeOfKey(text); }},
        {L"CpuLayout",
            [](Host& host, Text text)
            {
                if (!text.empty())
                    host.cpuLayout = CpuLayout::Parse(text);
            }},
        {L"CpuCount", [](Host& host, Text text) { host.cpuCount = qpr::ParseUInt64(text, L""); }},
        {L"CpuType", [](Host& host, Text text) { host.cpuType = CpuTypeOfKey(text); }},
        {L"CpuInfo", [](Host& host, Text text) { host.cpuInfo = text; }},
        {L"CpuScore", [](Host& host, Text text) { host.cpuScore = qpr::ParseFloat(text, L""); }},
        {L"MemSize", [](Host& host, Text text) { host.memorySizeInMB = ParseMB(text); }},
        {L"LAAAASpace", [](Host& host, Text text) { host.laaAddressSpaceInMB = ParseMB(text); }},
        {L"CpuSpeed",
            [](Host& host, Text text) { host.cpuSpeedInHz = qpr::ParseQuantity(text, qpr::UnitKind::Frequency, L""); }},
        {L"LinkSpeed",
            [](Host& host, Text text)
            { host.linkSpeedInBps = qpr::ParseQuantity(text, qpr::UnitKind::Bandwidth, L""); }},
    };
    return readers;
}

const std::set<std::wstring>& Keys()
{
    static const std::set<std::wstring> keys = []
    {
        std::set<std::wstring> names;
        for (const auto& [key, reader] : ValueReaders())
            names.insert(key);
        return names;
    }();
    return keys;
}

/// Some values are written with blanks and without quotes.
bool ContinuesValue(const std::wstring& wordWithKey, const std::wstring& next)
{
    if (next.find(L'=') != std::wstring::npos)
        return false;
    return wordWithKey.starts_with(L"CpuLayout=") || (wordWithKey.starts_with(L"Version=") && next.starts_with(L'('));
}

std::vector<std::wstring> JoinUnquotedValues(std::vector<std::wstring> words)
{
    std::vector<std::wstring> joined;
    for (std::wstring& word : words)
    {
        if (!joined.empty() && ContinuesValue(joined.back(), word))
            joined.back() += L" " + word;
        else
            joined.push_back(std::move(word));
    }
    return joined;
}

Arguments ParseLine(std::wstring_view line, const std::wstring& expectedRole)
{
    const std::wstring context = L"Invalid " + expectedRole + L" command";
    Arguments arguments;
    try
    {
        arguments = Arguments(JoinUnquotedValues(Arguments::SplitWords(line)));
    }
    catch (const qpr::RuntimeError& error)
    {
        throw qpr::RuntimeError(context + L": " + qpr::ErrorText(error));
    }

    if (!arguments.PositionalArguments().empty() && arguments.Positional(0) != expectedRole)
        throw qpr::RuntimeError(
            L"Unexpected role '" + arguments.Positional(0) + L"', expected '" + expectedRole + L"'");
    arguments.Validate(2, 2, context, Keys());
    return arguments;
}

} // namespace

bool HostDescription::IsIdentifier(std::wstring_view text) noexcept
{
    constexpr std::size_t maxLength = 128;
    constexpr std::wstring_view characters = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:/-";
    return !text.empty() && text.size() <= maxLength && text.find_first_not_of(characters) == std::wstring_view::npos;
}

std::wstring HostDescription::Write() const
{
    std::wostringstream line;
    line.imbue(std::locale::classic());
    line << role << L" " << identifier << L" Version=" << version.ToText() << L" HostName=" << hostName
         << L" ProcessId=" << processId << L" UserName=" << Quoted(userName) << L" OSType=" << OSTypeKey(osType)
         << L" CpuLayout=" << (cpuLayout.IsNull() ? std::wstring() : cpuLayout.Value().ToText()) << L" CpuCount="
         << cpuCount << L" CpuType=" << CpuTypeKey(cpuType) << L" CpuInfo=" << Quoted(cpuInfo) << L" CpuScore="
         << cpuScore << L" MemSize=" << memorySizeInMB << L"MB LAAAASpace=" << laaAddressSpaceInMB << L"MB";
    return line.str();
}

HostDescription HostDescription::Read(std::wstring_view line, const std::wstring& expectedRole)
{
    const Arguments arguments = ParseLine(line, expectedRole);
    HostDescription host;
    host.role = arguments.Positional(0);
    host.identifier = arguments.Positional(1);
    for (const auto& [key, text] : arguments.NamedArguments())
    {
        try
        {
            ValueReaders().at(key)(host, text);
        }
        catch (const qpr::RuntimeError&)
        {
            throw qpr::RuntimeError(L"Error parsing '" + key + L"=" + text + L"'");
        }
    }
    return host;
}

} // namespace qxm
