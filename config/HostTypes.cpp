#include "config/HostTypes.h"

#include "config/Arguments.h"
#include "runtime/text/Errors.h"
#include "runtime/text/TextValues.h"

#include <algorithm>
#include <array>

namespace qxm
{

namespace
{

struct TypeRow
{
    const wchar_t* key;
    const wchar_t* name;
};

// The rows stand in the order of the enumerators; the last one is for every value beyond.
constexpr std::array<TypeRow, 16> osTypes = {{
    {L"Windows2000", L"Windows 2000"},
    {L"WindowsXP", L"Windows XP"},
    {L"WindowsServer2003", L"Windows Server 2003"},
    {L"WindowsVista", L"Windows Vista"},
    {L"WindowsServer2008", L"Windows Server 2008"},
    {L"Windows7", L"Windows 7"},
    {L"WindowsServer2008R2", L"Windows Server 2008 R2"},
    {L"Windows8", L"Windows 8"},
    {L"WindowsServer2012", L"Windows Server 2012"},
    {L"Windows81", L"Windows 8.1"},
    {L"WindowsServer2012R2", L"Windows Server 2012 R2"},
    {L"Windows10", L"Windows 10"},
    {L"WindowsServer2016", L"Windows Server 2016"},
    {L"UnknownWindows", L"Windows"},
    {L"Linux", L"Linux"},
    {L"UnknownOSType", L"Unknown"},
}};

constexpr std::array<TypeRow, 5> cpuTypes = {{
    {L"IA32", L"X32"},
    {L"IA64", L"IA64"},
    {L"X64", L"X64"},
    {L"ARM", L"ARM"},
    {L"UnknownCpuType", L"Unknown"},
}};

template <class Rows>
const TypeRow& RowOf(const Rows& rows, std::uint32_t id) noexcept
{
    return rows[std::min<std::size_t>(id, rows.size() - 1)];
}

template <class Rows>
std::uint32_t IdOf(const Rows& rows, std::wstring_view key) noexcept
{
    const auto found = std::find_if(rows.begin(), rows.end() - 1, [key](const TypeRow& row) { return row.key == key; });
    return static_cast<std::uint32_t>(found - rows.begin());
}

} // namespace

const wchar_t* OSTypeKey(OSType type) noexcept
{
    return RowOf(osTypes, static_cast<std::uint32_t>(type)).key;
}

const wchar_t* OSTypeName(OSType type) noexcept
{
    return RowOf(osTypes, static_cast<std::uint32_t>(type)).name;
}

const wchar_t* CpuTypeKey(CpuType type) noexcept
{
    return RowOf(cpuTypes, static_cast<std::uint32_t>(type)).key;
}

const wchar_t* CpuTypeName(CpuType type) noexcept
{
    return RowOf(cpuTypes, static_cast<std::uint32_t>(type)).name;
}

OSType OSTypeOfKey(std::wstring_view key) noexcept
{
    return static_cast<OSType>(IdOf(osTypes, key));
}

CpuType CpuTypeOfKey(std::wstring_view key) noexcept
{
    return static_cast<CpuType>(IdOf(cpuTypes, key));
}

std::wstring CpuLayout::ToText() const
{
    return std::to_wstring(packages) + L" x " + std::to_wstring(coresPerPackage) + L"-Core"
        + (isHyperThreaded ? L" (HT)" : L"");
}

CpuLayout CpuLayout::Parse(const std::wstring& text)
{
    constexpr std::wstring_view coreSuffix = L"-Core";
    const std::vector<std::wstring> words = Arguments::SplitWords(text);
    const bool isHyperThreaded = words.size() == 4 && words[3] == L"(HT)";
    if ((words.size() != 3 && !isHyperThreaded) || words[1] != L"x" || !words[2].ends_with(coreSuffix))
        throw qpr::RuntimeError(L"Invalid processor layout '" + text + L"'");
    return {qpr::ParseUInt32(words[0], L"package count"),
        qpr::ParseUInt32(words[2].substr(0, words[2].size() - coreSuffix.size()), L"core count"), isHyperThreaded};
}

} // namespace qxm
