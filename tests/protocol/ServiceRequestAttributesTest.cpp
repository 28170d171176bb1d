#include "protocol/ServiceRequestAttributes.h"

#include "runtime/text/Utf8.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

namespace
{

using qxm::ServiceRequestAttributes;

TEST(ServiceRequestAttributesTest, AreWrittenInKeyOrderAndReadBack)
{
    const ServiceRequestAttributes attributes = {{L"Size", L" 3\t"}, {L"Mode", L"fast"}, {L"\u00e9t\u00e9", L"a=b'c"}};
    EXPECT_EQ(qxm::SerialiseAttributes(attributes), L"3 Mode fast Size 3 \u00e9t\u00e9 a=b'c");
    EXPECT_EQ(qxm::SerialiseAttributes({}), L"0");
    const ServiceRequestAttributes trimmed = {{L"Size", L"3"}, {L"Mode", L"fast"}, {L"\u00e9t\u00e9", L"a=b'c"}};
    EXPECT_EQ(qxm::ParseAttributes(qxm::SerialiseAttributes(attributes)), trimmed);
    EXPECT_EQ(qxm::ParseAttributes(L"0"), ServiceRequestAttributes());
}

TEST(ServiceRequestAttributesTest, WhatTheRequestLineCannotCarryIsRefused)
{
    const std::pair<ServiceRequestAttributes, const char*> cases[] = {
        {{{L"Size", L"a b"}}, "a b"},
        {{{L"a\tb", L"1"}}, "a\tb"},
        {{{L"Size", L" "}}, " "},
        {{{L"", L"1"}}, ""},
        {{{L"Size", L"3\""}}, "3\""},
        {{{L"Size", L"3\r\ncall"}}, "3\r\ncall"},
        {{{L"Size", L"\u3000"}}, "\u3000"},
        {{{L"Size", {L'a', static_cast<wchar_t>(0xD800)}}}, "a\uFFFD"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(test::ErrorOf([&] { qxm::SerialiseAttributes(c.first); }),
            "Invalid service request attribute key or value '" + std::string(c.second) + "'");
    }
}

TEST(ServiceRequestAttributesTest, ACountThatDoesNotFitIsRefused)
{
    for (const std::string text : {"", "1", "1 a", "2 a b", "1 a b c", "a b c", "18446744073709551617 a b"})
    {
        EXPECT_EQ(test::ErrorOf([&] { qxm::ParseAttributes(qpr::FromUtf8(text)); }),
            "Invalid service request attributes '" + text + "'");
    }
}

} // namespace
