#include "config/Version.h"

#include "runtime/text/Errors.h"
#include "runtime/text/TextValues.h"

#include <tuple>
#include <vector>

namespace qxm
{

namespace
{

std::vector<std::wstring_view> SplitAtDots(std::wstring_view text)
{
    std::vector<std::wstring_view> components;
    for (;;)
    {
        const std::size_t dot = text.find(L'.');
        components.push_back(text.substr(0, dot));
        if (dot == std::wstring_view::npos)
            return components;
        text.remove_prefix(dot + 1);
    }
}

/// Markers of a build from a working copy with mixed or modified revisions.
bool IsWorkingCopyMarker(std::wstring_view revision)
{
    return revision == L"WCMIXED" || revision == L"WCMODS";
}

Version ParseComponents(const std::vector<std::wstring_view>& components)
{
    if (components.size() != 4 && components.size() != 5)
        throw qpr::RuntimeError(L"Invalid number of components");

    Version version;
    version.major = qpr::ParseUInt32(components[0], L"major version number");
    version.minor = qpr::ParseUInt32(components[1], L"minor version number");
    version.build = qpr::ParseUInt32(components[2], L"build number");
    if (!IsWorkingCopyMarker(components[3]))
        version.revision = qpr::ParseUInt32(components[3], L"revision number");
    if (components.size() == 5)
        version.bitness = qpr::ParseUInt32(components[4], L"bitness");
    return version;
}

} // namespace

const Version libraryVersion = Version::Parse(L"15.1.1.1", L"QX_VERSION_STRING");

Version Version::Parse(std::wstring_view text, std::wstring_view label)
{
    try
    {
        return ParseComponents(SplitAtDots(text));
    }
    catch (const qpr::RuntimeError& error)
    {
        const std::wstring what(label.empty() ? std::wstring_view(L"version string") : label);
        throw qpr::RuntimeError(
            L"Invalid " + what + L" '" + std::wstring(text) + L"' (" + qpr::ErrorText(error) + L")");
    }
}

std::wstring Version::ToText() const
{
    std::wstring text = std::to_wstring(major) + L"." + std::to_wstring(minor) + L"." + std::to_wstring(build) + L"."
        + std::to_wstring(revision);
    if (bitness != 0)
        text += L" (" + std::to_wstring(bitness) + L"-bit)";
    return text;
}

bool Version::AtLeast(const Version& other) const noexcept
{
    return std::tie(major, minor, build) >= std::tie(other.major, other.minor, other.build);
}

} // namespace qxm
