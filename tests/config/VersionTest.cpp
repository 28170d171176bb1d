#include "config/Version.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

using qxm::Version;
using test::ErrorOf;

TEST(Version, ReadsAndWritesItsTextForm)
{
    const struct
    {
        const wchar_t* text;
        Version version;
        const wchar_t* written;
    } cases[] = {
        {L"15.1.1.1", {15, 1, 1, 1, 0}, L"15.1.1.1"},
        {L"15.1.1.1.64", {15, 1, 1, 1, 64}, L"15.1.1.1 (64-bit)"},
        {L"15.1.1.WCMODS", {15, 1, 1, 0, 0}, L"15.1.1.0"},
        {L"0.0.4294967295.WCMIXED.32", {0, 0, 4294967295, 0, 32}, L"0.0.4294967295.0 (32-bit)"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(Version::Parse(c.text, L""), c.version);
        EXPECT_EQ(c.version.ToText(), c.written);
    }
    EXPECT_EQ(qxm::libraryVersion.ToText(), L"15.1.1.1");
}

TEST(Version, NamesWhatIsWrongWithAText)
{
    const struct
    {
        const wchar_t* text;
        const wchar_t* label;
        const char* error;
    } cases[] = {
        {L"15.1.1", L"", "Invalid version string '15.1.1' (Invalid number of components)"},
        {L"15.1.1.1.64.1", L"QX", "Invalid QX '15.1.1.1.64.1' (Invalid number of components)"},
        {L"", L"QX", "Invalid QX '' (Invalid number of components)"},
        {L"x.1.1.1", L"QX",
            "Invalid QX 'x.1.1.1' (Invalid major version number string 'x': value is not an unsigned int.)"},
        {L"1..1.1", L"QX", "Invalid QX '1..1.1' (Invalid minor version number string '': no value given.)"},
        {L"1.1.-1.1", L"QX", "Invalid QX '1.1.-1.1' (Invalid build number string '-1': value must be 0 or higher.)"},
        {L"1.1.1.wcmods", L"QX",
            "Invalid QX '1.1.1.wcmods' (Invalid revision number string 'wcmods': value is not an unsigned int.)"},
        {L"1.1.1.1.4294967296", L"QX",
            "Invalid QX '1.1.1.1.4294967296' (Invalid bitness string '4294967296': value is not an unsigned int.)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { Version::Parse(c.text, c.label); }), c.error);
}

TEST(Version, IsComparedByMajorMinorAndBuildAlone)
{
    EXPECT_TRUE((Version{15, 2, 0, 0}.AtLeast({15, 1, 9, 9})));
    EXPECT_TRUE((Version{15, 1, 1, 0, 0}.AtLeast({15, 1, 1, 7, 64})));
    EXPECT_FALSE((Version{15, 1, 0, 9}.AtLeast({15, 1, 1, 0})));
    EXPECT_FALSE((Version{8, 9, 9, 9}.AtLeast({11, 0, 0, 0})));
}
