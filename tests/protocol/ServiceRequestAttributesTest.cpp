#include "protocol/ServiceRequestAttributes.h"

#include "runtime/Errors.h"
#include "runtime/Utf8.h"

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
    const struct
    {
        ServiceRequestAttributes attributes;
        const char* text;
    } cases[] = {
        {{{L"Size", L"a b"}}, "a b"},
        {{{L"a\tb", L"1"}}, "a\tb"},
        {{{L"Size", L" "}}, " "},
        {{{L"", L"1"}}, ""},
        {{{L"Size", L"3\""}}, "3\""},
        {{{L"Size", L"3\r\ncall"}}, "3\r\ncall"},
    };
    for (const auto& test : cases)
    {
        try
        {
            qxm::SerialiseAttributes(test.attributes);
            ADD_FAILURE() << test.text;
        }
        catch (const qpr::RuntimeError& error)
        {
            EXPECT_EQ(error.what(), "Invalid service request attribute key or value '" + std::string(test.text) + "'");
        }
    }
}

TEST(ServiceRequestAttributesTest, ACountThatDoesNotFitIsRefused)
{
    for (const std::wstring text : {L"", L"1", L"1 a", L"2 a b", L"1 a b c", L"a b c", L"18446744073709551617 a b"})
    {
        try
        {
            qxm::ParseAttributes(text);
            ADD_FAILURE() << qpr::ToUtf8(text);
        }
        catch (const qpr::RuntimeError& error)
        {
            EXPECT_EQ(qpr::ErrorText(error), L"Invalid service request attributes '" + text + L"'");
        }
    }
}

} // namespace
