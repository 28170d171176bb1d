#include "expr/Evaluator.h"
#include "tests/expr/Outcomes.h"

#include <gtest/gtest.h>
#include <thread>

using namespace qexpr;
using test::ErrorOf;

namespace
{

constexpr Value::Type Float = Value::Type_Float;

float Evaluated(const Evaluator& evaluator, const ExpressionPtr& expression, const ValueMap& values)
{
    return static_cast<float>(evaluator.Evaluate(*expression, values));
}

TEST(Evaluator, ComputesHelpersOnDemand)
{
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(L"Area = Width * Height; Twice = Area * 2; Big = Twice > 100;", L"helpers");
    const ExpressionPtr expression = evaluator.ParseExpression(L"if Big then Twice else Area + 0.5", L"formula", Float);
    EXPECT_EQ(expression->ToText(), L"if_then_else(bool Big, float Twice, add(float Area, 0.5))");
    EXPECT_EQ(Evaluated(evaluator, expression, {{L"Width", Value(10.0F)}, {L"Height", Value(6.0F)}}), 120.0F);
    EXPECT_EQ(Evaluated(evaluator, expression, {{L"Width", Value(2.0F)}, {L"Height", Value(3.0F)}}), 6.5F);

    // A value given for a helper takes the place of its definition, also within other helpers.
    EXPECT_EQ(Evaluated(evaluator, expression, {{L"Area", Value(60.0F)}}), 120.0F);
    EXPECT_EQ(Evaluated(evaluator, expression, {{L"Area", Value(60.0F)}, {L"Big", Value(false)}}), 60.5F);
}

TEST(Evaluator, EvaluatesWhatIsLeftOfASpecialisedFormula)
{
    const struct
    {
        const wchar_t* formula;
        const wchar_t* special; // with N = M = 4, T = 'x' and F = false
    } cases[] = {
        {L"N * 2 + sqrt(M) * P", L"add(8, mul(2, float P))"},
        {L"if T == 'x' then P else Q", L"float P"},
        {L"if F or P > N then N else -Q", L"if_then_else(or(false, gt(float P, 4)), 4, neg(float Q))"},
        {L"H + N ^ 2", L"add(float H, 16)"},
    };
    for (const auto& c : cases)
    {
        Evaluator evaluator;
        evaluator.AddHelperVariableDefinitions(L"H = float P + 1;", L"helpers");
        const ExpressionPtr expression = evaluator.ParseExpression(c.formula, L"formula", Float);
        const ExpressionPtr special = expression->Specialise(
            {{L"M", Value(4.0F)}, {L"N", Value(4.0F)}, {L"T", Value(L"x")}, {L"F", Value(false)}});
        EXPECT_EQ(special->ToText(), c.special);
        EXPECT_EQ(Evaluated(evaluator, special, {{L"P", Value(3.0F)}, {L"Q", Value(5.0F)}}),
            Evaluated(evaluator, expression,
                {{L"F", Value(false)}, {L"M", Value(4.0F)}, {L"N", Value(4.0F)}, {L"P", Value(3.0F)},
                    {L"Q", Value(5.0F)}, {L"T", Value(L"x")}}));
    }
}

TEST(Evaluator, LeavesTheGivenValuesAlone)
{
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(L"B = A + 1;", L"helpers");
    const ExpressionPtr expression = evaluator.ParseExpression(L"B * 2", L"formula", Float);
    const ValueMap values = {{L"A", Value(1.0F)}};
    EXPECT_EQ(Evaluated(evaluator, expression, values), 4.0F);
    EXPECT_EQ(values.size(), 1U);
}

TEST(Evaluator, RequiresEveryVariableOfAFormula)
{
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(L"H = sqrt(Input);", L"helpers");
    const ExpressionPtr conditional = evaluator.ParseExpression(L"if A then 1 else B", L"formula", Float);
    EXPECT_EQ(ErrorOf(
                  [&] {
                      evaluator.Evaluate(*conditional, {{L"A", Value(true)}});
                  }),
        L"Missing definition for helper variable 'B'");
    const ExpressionPtr throughHelper = evaluator.ParseExpression(L"H + 1", L"formula", Float);
    EXPECT_EQ(
        ErrorOf([&] { evaluator.Evaluate(*throughHelper, {}); }), L"Missing definition for helper variable 'Input'");
    EXPECT_EQ(ErrorOf(
                  [&] {
                      evaluator.Evaluate(*throughHelper, {{L"Input", Value(true)}});
                  }),
        L"qexpr::Value::operator float: Type mismatch");
}

TEST(Evaluator, TellsInputsAndUses)
{
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(L"A = X * 2; B = A + Y; C = Name == 'a';", L"helpers");
    const ExpressionPtr expression = evaluator.ParseExpression(L"B + Z", L"formula", Float);
    ValueTypeMap types;
    evaluator.GetInputVariableTypes(types);
    EXPECT_EQ(types, (ValueTypeMap{{L"Name", Value::Type_String}, {L"X", Float}, {L"Y", Float}, {L"Z", Float}}));

    for (const wchar_t* used : {L"A", L"B", L"X", L"Y", L"Z"})
        EXPECT_TRUE(evaluator.UsesVariable(*expression, used)) << used;
    for (const wchar_t* unused : {L"C", L"Name", L"Q"})
        EXPECT_FALSE(evaluator.UsesVariable(*expression, unused)) << unused;
}

TEST(Evaluator, RefusesBadHelperDefinitions)
{
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"B = A * 2; A = 1;", L"Variable 'A' used before being defined at position 14 of helpers"},
        {L"A = 1; A = 2;", L"Variable 'A' already defined at position 10 of helpers"},
        {L"1 = 2;", L"Expected variable name but got '1' at position 1 of helpers"},
        {L"size = 2;", L"Expected variable name but got 'size' at position 1 of helpers"},
        {L"A == 2;", L"Expected '=' but got '==' at position 3 of helpers"},
        {L"A", L"Expected '=' at end of helpers"},
        {L"A =", L"Missing token at end of helpers"},
        {L"A = 1", L"Expected ; at end of helpers"},
        {L"A = 1 B = 2;", L"Expected ; but got 'B' at position 7 of helpers"},
        {L"A = B;", L"Could not determine type of expression at position 6 of helpers"},
        {L"A = 1;;", L"Expected variable name but got ';' at position 7 of helpers"},
    };
    for (const auto& [text, error] : cases)
    {
        SCOPED_TRACE(text);
        Evaluator evaluator;
        EXPECT_EQ(ErrorOf([&, definitions = text] { evaluator.AddHelperVariableDefinitions(definitions, L"helpers"); }),
            error);
    }
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(L" ", L"helpers");
    evaluator.AddHelperVariableDefinitions(L"A = if true then 1 else 2; B = A * 2;", L"helpers");
}

TEST(Evaluator, AHelperThatRefersToItselfFailsWhenEvaluated)
{
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(L"A = A + 1; B = B > 1;", L"helpers");
    const ExpressionPtr sum = evaluator.ParseExpression(L"A * 2", L"formula", Float);
    EXPECT_FALSE(evaluator.UsesVariable(*sum, L"B"));
    EXPECT_EQ(ErrorOf([&] { evaluator.Evaluate(*sum, {}); }),
        L"qexpr::Evaluator::AddHelperVariableValues: recursionLevel > 1000");
    EXPECT_EQ(Evaluated(evaluator, sum, {{L"A", Value(2.0F)}}), 4.0F);
    const ExpressionPtr conditional = evaluator.ParseExpression(L"if B then 1 else 2", L"formula", Float);
    EXPECT_EQ(ErrorOf([&] { evaluator.Evaluate(*conditional, {}); }),
        L"qexpr::Evaluator::AddHelperVariableValues: expressionType != variableType");
}

/// H0 = X; H1 = H0 + H0 ... with every helper using the two before it.
std::wstring HelperLadder(int rungs)
{
    std::wstring text = L"H0 = X + 0; H1 = H0 + 0;";
    for (int i = 2; i < rungs; ++i)
    {
        const std::wstring below = std::to_wstring(i - 1);
        text += L"H" + std::to_wstring(i) + L" = max(H" + below + L", H" + std::to_wstring(i - 2) + L");";
    }
    return text;
}

TEST(Evaluator, LooksIntoEachHelperOnce)
{
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(HelperLadder(900), L"helpers");
    const ExpressionPtr top = evaluator.ParseExpression(L"H899", L"formula", Float);
    EXPECT_TRUE(evaluator.UsesVariable(*top, L"X"));
    EXPECT_FALSE(evaluator.UsesVariable(*top, L"Y"));
    EXPECT_EQ(Evaluated(evaluator, top, {{L"X", Value(3.0F)}}), 3.0F);
}

TEST(Evaluator, BoundsHelpersThroughHelpers)
{
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(HelperLadder(20000), L"helpers");
    const ValueMap values = {{L"X", Value(3.0F)}};
    EXPECT_EQ(Evaluated(evaluator, evaluator.ParseExpression(L"H999", L"formula", Float), values), 3.0F);
    const ExpressionPtr top = evaluator.ParseExpression(L"H19999", L"formula", Float);
    EXPECT_TRUE(evaluator.UsesVariable(*top, L"X"));
    EXPECT_EQ(ErrorOf([&] { evaluator.Evaluate(*top, values); }),
        L"qexpr::Evaluator::AddHelperVariableValues: recursionLevel > 1000");
}

TEST(Evaluator, EvaluatesOnSeveralThreadsAtOnce)
{
    Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(L"Twice = X * 2; Long = Name == 'long';", L"helpers");
    const ExpressionPtr expression = evaluator.ParseExpression(L"if Long then Twice else X", L"formula", Float);
    const auto evaluateOften = [&]
    {
        for (int i = 0; i < 1000; ++i)
            EXPECT_EQ(Evaluated(evaluator, expression, {{L"X", Value(2.0F)}, {L"Name", Value(L"long")}}), 4.0F);
    };
    std::thread other(evaluateOften);
    evaluateOften();
    other.join();
}

} // namespace
