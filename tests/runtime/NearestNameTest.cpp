#include "runtime/text/NearestName.h"

#include <gtest/gtest.h>

namespace
{

TEST(NearestNameTest, ForgivesOneMistakeInThreeLetters)
{
    const std::wstring known[] = {L"call", L"check", L"TargetPlatform", L"Gzip", L"gunzip", L"X"};
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"cal", L"call"},
        {L"chekc", L"check"},
        {L"TargetPlatfrom", L"TargetPlatform"},
        {L"targetplatform", L"TargetPlatform"},
        {L"gzip", L"Gzip"},
        {L"gunzp", L"gunzip"},
        {L"x", L"X"},
        {L"Y", L"none"},
        {L"cake", L"none"},
        {L"", L"none"},
        {std::wstring(100000, L'c'), L"none"},
    };
    for (const auto& [given, nearest] : cases)
        EXPECT_EQ(nearest, qpr::NearestName(given, known).value_or(L"none")) << given.substr(0, 20).c_str();
}

} // namespace
