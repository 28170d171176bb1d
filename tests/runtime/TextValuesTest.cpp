#include "runtime/TextValues.h"

#include "runtime/Utf8.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

namespace
{

using namespace qpr;

/// The error that parsing a text ends with.
template <class Parse>
std::wstring ErrorOf(Parse parse, std::wstring_view text, std::wstring_view description = L"Width")
{
    return FromUtf8(test::ErrorOf([&] { parse(text, description); }));
}

std::uint64_t ParseMemory(std::wstring_view text, std::wstring_view description)
{
    return ParseQuantity(text, UnitKind::Memory, description);
}

TEST(TextValuesTest, NumbersAreReadAsTheStreamReadsThem)
{
    EXPECT_EQ(-2147483647 - 1, ParseInt32(L"-2147483648", L""));
    EXPECT_EQ(7, ParseInt32(L" \t+7", L""));
    EXPECT_EQ(4294967295u, ParseUInt32(L"4294967295", L""));
    EXPECT_EQ(0u, ParseUInt32(L"-0", L""));
    EXPECT_EQ(18446744073709551615u, ParseUInt64(L"18446744073709551615", L""));
    EXPECT_EQ(-1.5f, ParseFloat(L"-1.5", L""));
    EXPECT_EQ(2e10f, ParseFloat(L"2e10", L""));
    EXPECT_TRUE(ParseBool(L"true", L""));
    EXPECT_FALSE(ParseBool(L"false", L""));
}

TEST(TextValuesTest, WrongNumbersAreNamed)
{
    EXPECT_EQ(L"Invalid Width string '': value is not an int.", ErrorOf(ParseInt32, L""));
    EXPECT_EQ(L"Invalid Width string '2147483648': value is not an int.", ErrorOf(ParseInt32, L"2147483648"));
    EXPECT_EQ(L"Invalid Width string '1 ': value is not an int.", ErrorOf(ParseInt32, L"1 "));
    EXPECT_EQ(L"Invalid Width string '0x10': value is not an unsigned int.", ErrorOf(ParseUInt32, L"0x10"));
    EXPECT_EQ(L"Invalid Width string '4294967296': value is not an unsigned int.", ErrorOf(ParseUInt32, L"4294967296"));
    EXPECT_EQ(L"Invalid Width string '-1.5': value is not an unsigned int.", ErrorOf(ParseUInt32, L"-1.5"));
    EXPECT_EQ(L"Invalid Width string '-': value is not an unsigned __int64.", ErrorOf(ParseUInt64, L"-"));
    EXPECT_EQ(L"Invalid Width string '': no value given.", ErrorOf(ParseUInt32, L""));
    EXPECT_EQ(L"Invalid Width string ' -1': value must be 0 or higher.", ErrorOf(ParseUInt32, L" -1"));
    EXPECT_EQ(L"Invalid Width string '-99999999999999999999': value must be 0 or higher.",
        ErrorOf(ParseUInt64, L"-99999999999999999999"));
    EXPECT_EQ(L"Invalid Width string '1.5x': value is not a float.", ErrorOf(ParseFloat, L"1.5x"));
    EXPECT_EQ(L"Invalid Width string '1,5': value is not a float.", ErrorOf(ParseFloat, L"1,5"));
    EXPECT_EQ(L"Invalid Width string '1e99': value is not a float.", ErrorOf(ParseFloat, L"1e99"));
    EXPECT_EQ(L"Invalid Width string 'True': value must be a boolean.", ErrorOf(ParseBool, L"True"));
    EXPECT_EQ(L"Invalid Width string '1': value must be a boolean.", ErrorOf(ParseBool, L"1"));
    EXPECT_EQ(L"Invalid string 'x': value is not a float.", ErrorOf(ParseFloat, L"x", L""));
}

TEST(TextValuesTest, PercentagesAreFractions)
{
    EXPECT_EQ(0.8f, ParsePercentage(L"80%", L""));
    EXPECT_EQ(0.0f, ParsePercentage(L"0%", L""));
    EXPECT_EQ(2.5f, ParsePercentage(L"250%", L""));
    EXPECT_EQ(L"Invalid Width string '80': missing percentage sign.", ErrorOf(ParsePercentage, L"80"));
    EXPECT_EQ(L"Invalid Width string '80% ': missing percentage sign.", ErrorOf(ParsePercentage, L"80% "));
    EXPECT_EQ(L"Invalid Width string '80 %': value is not an unsigned int.", ErrorOf(ParsePercentage, L"80 %"));
    EXPECT_EQ(L"Invalid Width string '0.5%': value is not an unsigned int.", ErrorOf(ParsePercentage, L"0.5%"));
    EXPECT_EQ(L"Invalid Width string '-1%': value must be 0 or higher.", ErrorOf(ParsePercentage, L"-1%"));
    EXPECT_EQ(L"Invalid Width string '%': no value given.", ErrorOf(ParsePercentage, L"%"));
    EXPECT_EQ(L"Invalid Width string '': no value given.", ErrorOf(ParsePercentage, L""));
}

TEST(TextValuesTest, UnitsArePowersOf1024)
{
    EXPECT_EQ(5u, ParseMemory(L"5 B", L""));
    EXPECT_EQ(2048u, ParseMemory(L"2KB", L""));
    EXPECT_EQ(3u * 1048576, ParseMemory(L"3  MB", L""));
    EXPECT_EQ(std::uint64_t(16) << 30, ParseMemory(L"16 GB", L""));
    EXPECT_EQ(1024u, ParseQuantity(L"1 KHz", UnitKind::Frequency, L""));
    EXPECT_EQ(std::uint64_t(3) << 30, ParseQuantity(L"3 GHz", UnitKind::Frequency, L""));
    EXPECT_EQ(1048576u, ParseQuantity(L"1 Mbps", UnitKind::Bandwidth, L""));
}

TEST(TextValuesTest, WrongQuantitiesAreNamed)
{
    EXPECT_EQ(L"Invalid Width string '5': missing memory unit ('B', 'KB', 'MB' or 'GB').", ErrorOf(ParseMemory, L"5"));
    EXPECT_EQ(L"Invalid Width string '5 mb': invalid memory unit 'mb', must be 'B', 'KB', 'MB' or 'GB'.",
        ErrorOf(ParseMemory, L"5 mb"));
    EXPECT_EQ(L"Invalid Width string '5 MB': invalid bandwidth unit 'MB', must be 'bps', 'Kbps', 'Mbps' or 'Gbps'.",
        ErrorOf([](std::wstring_view text, std::wstring_view description)
            { return ParseQuantity(text, UnitKind::Bandwidth, description); },
            L"5 MB"));
    EXPECT_EQ(L"Invalid Width string 'MB': no value given.", ErrorOf(ParseMemory, L"MB"));
    EXPECT_EQ(L"Invalid Width string '-5 MB': value must be 0 or higher.", ErrorOf(ParseMemory, L"-5 MB"));
    EXPECT_EQ(L"Invalid Width string '1.5 MB': value is not an unsigned __int64.", ErrorOf(ParseMemory, L"1.5 MB"));
    EXPECT_EQ(L"Invalid Width string '17179869184 GB': value is not an unsigned __int64.",
        ErrorOf(ParseMemory, L"17179869184 GB"));
}

TEST(TextValuesTest, QuotesEncloseTheWholeText)
{
    EXPECT_EQ(L"a b", ParseQuotedText(L"\"a b\"", L""));
    EXPECT_EQ(L"", ParseQuotedText(L"\"\"", L""));
    EXPECT_EQ(L"a b", ParseQuotedText(L"a b", L""));
    EXPECT_EQ(L"Invalid Width string '\"': Unmatched \" in '\"'.", ErrorOf(ParseQuotedText, L"\""));
    EXPECT_EQ(L"Invalid Width string '\"a': Unmatched \" in '\"a'.", ErrorOf(ParseQuotedText, L"\"a"));
}

} // namespace
