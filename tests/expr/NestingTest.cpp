#include "expr/Evaluator.h"
#include "tests/expr/Outcomes.h"

#include <gtest/gtest.h>

using namespace qexpr;
using test::ErrorOf;

namespace
{

std::wstring Repeated(int count, std::wstring_view text)
{
    std::wstring result;
    for (int i = 0; i < count; ++i)
        result += text;
    return result;
}

// what comes before, the centre, what comes after, and how many of these around it still parse
const std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, int> Nests[] = {
    {L"(", L"1", L")", 1000},
    {L"+", L"1", L"", 1000},
    {L"-", L"1", L"", 999},
    {L"-(", L"1", L")", 500},
    {L"sqrt(", L"1", L")", 999},
    {L"min(1, ", L"1", L")", 999},
    {L"pow(", L"1", L", 2)", 999},
    {L"1 + ", L"1", L"", 999},
    {L"", L"1", L" * 2", 999},
    {L"", L"1", L" ^ 2", 999},
    {L"1 + (", L"1", L")", 999},
    {L"if true then 1 else ", L"1", L"", 999},
    {L"if true then ", L"1", L" else 1", 999},
    {L"if ", L"true", L" then true else false", 999},
    {L"true or (", L"true", L")", 999},
};

std::string ParseOutcome(const std::wstring& formula)
{
    Evaluator evaluator;
    return ErrorOf(
        [&]
        {
            const ExpressionPtr expression = evaluator.ParseExpression(formula, L"formula", Value::Type_Undefined);
            expression->ToText();
            evaluator.Evaluate(*expression, {});
        });
}

TEST(Nesting, IsBoundedForEveryConstruct)
{
    for (const auto& [prefix, centre, suffix, deepest] : Nests)
    {
        SCOPED_TRACE(prefix + std::wstring(L"...") + suffix);
        for (const int count : {deepest, deepest + 1, 100000})
        {
            const std::string outcome = ParseOutcome(Repeated(count, prefix) + centre + Repeated(count, suffix));
            EXPECT_TRUE(outcome.starts_with(count == deepest ? "no error" : "Expression nested more than 1000 deep "))
                << outcome;
        }
    }
}

TEST(Nesting, LargeFormulasThatStayFlatAreFine)
{
    std::wstring formula = L"1";
    for (int i = 0; i < 16; ++i)
        formula = L"min(" + formula + L", " + formula + L")";
    EXPECT_EQ(ParseOutcome(formula), "no error");
}

} // namespace
