#include "config/Arguments.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

using qxm::Arguments;
using test::ErrorOf;

TEST(Arguments, AreSplitAtBlanksAndGroupedByQuotes)
{
    const std::tuple<const wchar_t*, std::vector<std::wstring>, Arguments::NamedMap> cases[] = {
        {LR"(a 'b c' "d 'e'" k=v=w)", {L"a", L"b c", L"d 'e'"}, {{L"k", L"v=w"}}},
        {L" \t a\r\n  b\u2003", {L"a", L"b"}, {}},
        {L"x= k=1 k=2", {}, {{L"x", L""}, {L"k", L"2"}}},
        {LR"(a''b "" '' pre"fix 'y"z)", {L"ab", L"prefix 'yz"}, {}},
        {LR"(Name="two words" 'k=v w')", {}, {{L"Name", L"two words"}, {L"k", L"v w"}}},
        {LR"(back\" slash")", {L"back\\ slash"}, {}},
        {L"", {}, {}},
    };
    for (const auto& [line, positional, named] : cases)
    {
        const Arguments arguments = Arguments::Parse(line);
        EXPECT_EQ(arguments.PositionalArguments(), positional) << line;
        EXPECT_EQ(arguments.NamedArguments(), named) << line;
    }
}

TEST(Arguments, TellAbsentNamesFromEmptyValues)
{
    const Arguments arguments = Arguments::Parse(L"empty= full=x");
    std::wstring value = L"untouched";
    EXPECT_FALSE(arguments.Named(L"absent", value));
    EXPECT_EQ(value, L"untouched");
    EXPECT_TRUE(arguments.Named(L"empty", value));
    EXPECT_EQ(value + arguments.NamedOrEmpty(L"absent") + arguments.NamedOrEmpty(L"full"), L"x");
}

TEST(Arguments, AreRefusedWithTheOffendingWord)
{
    for (const wchar_t* open : {L"'abc", L"a \"b c", L"k='v\""})
        EXPECT_EQ(ErrorOf([&] { Arguments::Parse(open); }), "Unexpected end of string") << open;
    EXPECT_EQ(ErrorOf([] { Arguments::Parse(L"a =x"); }), "Syntax error in argument '=x'");
    EXPECT_EQ(ErrorOf([] { Arguments::Parse(L"a '=x y'"); }), "Syntax error in argument '=x y'");

    const Arguments arguments = Arguments::Parse(L"a b B=1 A=2");
    EXPECT_EQ(ErrorOf([&] { arguments.Positional(2); }), "Missing required argument 2");
    EXPECT_NO_THROW(arguments.Validate(2, 2, L"Line", {L"A", L"B"}));
    EXPECT_EQ(ErrorOf([&] { arguments.Validate(3, 4, L"Line", {}); }),
        "Line: Not enough positional arguments (got 2 but must be at least 3)");
    EXPECT_EQ(ErrorOf([&] { arguments.Validate(0, 1, L"Line", {}); }),
        "Line: Too many positional arguments (got 2 but must be at most 1)");
    EXPECT_EQ(ErrorOf([&] { arguments.Validate(2, 2, L"Line", {L"C"}); }), "Line: Invalid named argument 'A'");
}
