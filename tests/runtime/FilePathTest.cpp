#include "runtime/channels/FilePath.h"

#include <gtest/gtest.h>

TEST(FilePath, IsAbsoluteWithALeadingSeparatorOrADriveAndASeparator)
{
    for (const wchar_t* path : {L"\\x", L"\\\\server\\share", L"C:\\x"})
        EXPECT_TRUE(qpr::IsAbsolutePath(path)) << path;
    const bool slashSeparates = std::filesystem::path::preferred_separator == '/';
    for (const wchar_t* path : {L"/x", L"c:/x", L"/"})
        EXPECT_EQ(qpr::IsAbsolutePath(path), slashSeparates) << path;
    for (const wchar_t* path : {L"", L"x", L"C:x", L"C:", L"..\\x", L"x/y", L"ab:\\x"})
        EXPECT_FALSE(qpr::IsAbsolutePath(path)) << path;
}

TEST(FilePath, IsMadeFull)
{
    const std::wstring root = qpr::FullPath(L"/");
    EXPECT_EQ(qpr::FullPath(L"/a/./b/../c \u00E9\U0001F600.exe"),
        root + qpr::WithNativeSeparators(L"a/c \u00E9\U0001F600.exe"));
    EXPECT_EQ(qpr::FullPath(L"/a/../../b"), root + L"b");
    EXPECT_EQ(qpr::DirectoryOf(qpr::FullPath(L"x")), qpr::DirectoryOf(qpr::FullPath(L"y")));
    EXPECT_EQ(qpr::DirectoryOf(L"x"), L"");
}
