#include "runtime/text/TextValues.h"

#include "runtime/text/Utf8.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

namespace
{

using namespace qpr;

/// The error that parsing a text ends with.
template <class Parse>
std::wstring ErrorOf(Parse parse, std::wstring_view text)
{
    return FromUtf8(test::ErrorOf([&] { parse(text, L"Width"); }));
}

constexpr auto memory = [](std::wstring_view text, std::wstring_view description)
{ return ParseQuantity(text, UnitKind::Memory, description); };
constexpr auto bandwidth = [](std::wstring_view text, std::wstring_view description)
{ return ParseQuantity(text, UnitKind::Bandwidth, description); };

TEST(TextValuesTest, AreReadAsTheStreamReadsThem)
{
    EXPECT_EQ(-2147483647 - 1, ParseInt32(L"-2147483648", L""));
    EXPECT_EQ(7, ParseInt32(L" \t\u00A0\u3000+7", L""));
    EXPECT_EQ(4294967295u, ParseUInt32(L"4294967295", L""));
    EXPECT_EQ(0u, ParseUInt32(L"-0", L""));
    EXPECT_EQ(18446744073709551615u, ParseUInt64(L"18446744073709551615", L""));
    EXPECT_EQ(2e10f, ParseFloat(L"2e10", L""));
    EXPECT_FALSE(ParseBool(L"false", L""));
    EXPECT_EQ(2.5f, ParsePercentage(L"250%", L""));
    EXPECT_EQ(L"", ParseQuotedText(L"\"\"", L""));
    EXPECT_EQ(L"a b", ParseQuotedText(L"a b", L""));
    // Units are powers of 1024.
    EXPECT_EQ(5u, memory(L"5 B", L""));
    EXPECT_EQ(2048u, memory(L"2KB", L""));
    EXPECT_EQ(3u * 1048576, memory(L"3  MB", L""));
    EXPECT_EQ(std::uint64_t(16) << 30, memory(L"16 GB", L""));
    EXPECT_EQ(1024u, ParseQuantity(L"1 KHz", UnitKind::Frequency, L""));
    EXPECT_EQ(std::uint64_t(3) << 30, ParseQuantity(L"3 GHz", UnitKind::Frequency, L""));
    EXPECT_EQ(1048576u, bandwidth(L"1 Mbps", L""));
}

TEST(TextValuesTest, AreNamedWhenTheyAreWrong)
{
    EXPECT_EQ(L"Invalid Width string '': value is not an int.", ErrorOf(ParseInt32, L""));
    EXPECT_EQ(L"Invalid Width string '2147483648': value is not an int.", ErrorOf(ParseInt32, L"2147483648"));
    EXPECT_EQ(L"Invalid Width string '1 ': value is not an int.", ErrorOf(ParseInt32, L"1 "));
    EXPECT_EQ(L"Invalid Width string '0x10': value is not an unsigned int.", ErrorOf(ParseUInt32, L"0x10"));
    EXPECT_EQ(L"Invalid Width string '4294967296': value is not an unsigned int.", ErrorOf(ParseUInt32, L"4294967296"));
    EXPECT_EQ(L"Invalid Width string '-1.5': value is not an unsigned int.", ErrorOf(ParseUInt32, L"-1.5"));
    EXPECT_EQ(L"Invalid Width string '-': value is not an unsigned __int64.", ErrorOf(ParseUInt64, L"-"));
    EXPECT_EQ(L"Invalid Width string ' -1': value must be 0 or higher.", ErrorOf(ParseUInt32, L" -1"));
    EXPECT_EQ(L"Invalid Width string '-99999999999999999999': value must be 0 or higher.",
        ErrorOf(ParseUInt64, L"-99999999999999999999"));
    EXPECT_EQ(L"Invalid Width string '1,5': value is not a float.", ErrorOf(ParseFloat, L"1,5"));
    EXPECT_EQ(L"Invalid Width string '1e99': value is not a float.", ErrorOf(ParseFloat, L"1e99"));
    EXPECT_EQ(L"Invalid Width string 'True': value must be a boolean.", ErrorOf(ParseBool, L"True"));
    EXPECT_EQ(L"Invalid Width string '80% ': missing percentage sign.", ErrorOf(ParsePercentage, L"80% "));
    EXPECT_EQ(L"Invalid Width string '80 %': missing percentage sign.", ErrorOf(ParsePercentage, L"80 %"));
    EXPECT_EQ(L"Invalid Width string '80.5%': missing percentage sign.", ErrorOf(ParsePercentage, L"80.5%"));
    EXPECT_EQ(L"Invalid Width string 'x%': value is not an unsigned int.", ErrorOf(ParsePercentage, L"x%"));
    EXPECT_EQ(L"Invalid Width string '%': no value given.", ErrorOf(ParsePercentage, L"%"));
    EXPECT_EQ(L"Invalid Width string '': no value given.", ErrorOf(ParsePercentage, L""));
    EXPECT_EQ(L"Invalid Width string '5': missing memory unit ('B', 'KB', 'MB' or 'GB').", ErrorOf(memory, L"5"));
    EXPECT_EQ(L"Invalid Width string '5 mb': invalid memory unit 'mb', must be 'B', 'KB', 'MB' or 'GB'.",
        ErrorOf(memory, L"5 mb"));
    EXPECT_EQ(L"Invalid Width string '5 MB': invalid bandwidth unit 'MB', must be 'bps', 'Kbps', 'Mbps' or 'Gbps'.",
        ErrorOf(bandwidth, L"5 MB"));
    EXPECT_EQ(L"Invalid Width string 'MB': no value given.", ErrorOf(memory, L"MB"));
    EXPECT_EQ(L"Invalid Width string '-5 MB': value must be 0 or higher.", ErrorOf(memory, L"-5 MB"));
    EXPECT_EQ(L"Invalid Width string '17179869184 GB': value is not an unsigned __int64.",
        ErrorOf(memory, L"17179869184 GB"));
    for (const std::wstring text : {L"\"", L"\"a"})
        EXPECT_EQ(
            L"Invalid Width string '" + text + L"': Unmatched \" in '" + text + L"'.", ErrorOf(ParseQuotedText, text));
}

} // namespace
