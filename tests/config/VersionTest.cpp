#include "config/Version.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

using qxm::Version;
using test::ErrorOf;

TEST(Version, ReadsAndWritesItsTextForm)
{
    const std::tuple<const wchar_t*, Version, const wchar_t*> cases[] = {
        {L"15.1.1.1", {15, 1, 1, 1, 0}, L"15.1.1.1"},
        {L"15.1.1.1.64", {15, 1, 1, 1, 64}, L"15.1.1.1 (64-bit)"},
        {L"15.1.1.WCMODS", {15, 1, 1, 0, 0}, L"15.1.1.0"},
        {L"0.0.4294967295.WCMIXED.32", {0, 0, 4294967295, 0, 32}, L"0.0.4294967295.0 (32-bit)"},
    };
    for (const auto& [text, version, written] : cases)
    {
        EXPECT_EQ(Version::Parse(text, L""), version);
        EXPECT_EQ(version.ToText(), written);
    }
    EXPECT_EQ(qxm::libraryVersion.ToText(), L"15.1.1.1");
}

TEST(Version, NamesWhatIsWrongWithAText)
{
    EXPECT_EQ(ErrorOf([] { Version::Parse(L"15.1.1", L""); }),
        "Invalid version string '15.1.1' (Invalid number of components)");
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"15.1.1.1.64.1", "Invalid QX '15.1.1.1.64.1' (Invalid number of components)"},
        {L"", "Invalid QX '' (Invalid number of components)"},
        {L"x.1.1.1", "Invalid QX 'x.1.1.1' (Invalid major version number string 'x': value is not an unsigned int.)"},
        {L"1..1.1", "Invalid QX '1..1.1' (Invalid minor version number string '': no value given.)"},
        {L"1.1.-1.1", "Invalid QX '1.1.-1.1' (Invalid build number string '-1': value must be 0 or higher.)"},
        {L"1.1.1.wcmods",
            "Invalid QX '1.1.1.wcmods' (Invalid revision number string 'wcmods': value is not an unsigned int.)"},
        {L"1.1.1.1.4294967296",
            "Invalid QX '1.1.1.1.4294967296' (Invalid bitness string '4294967296': value is not an unsigned int.)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { Version::Parse(c.first, L"QX"); }), c.second);
}
