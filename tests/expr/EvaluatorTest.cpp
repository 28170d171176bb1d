#include "expr/Evaluator.h"
#include "tests/expr/Outcomes.h"

#include <gtest/gtest.h>

using namespace qexpr;
using namespace test;

namespace
{

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
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"B = A * 2; A = 1;", "Variable 'A' used before being defined at position 14 of helpers"},
        {L"A = 1; A = 2;", "Variable 'A' already defined at position 10 of helpers"},
        {L"1 = 2;", "Expected variable name but got '1' at position 1 of helpers"},
        {L"size = 2;", "Expected variable name but got 'size' at position 1 of helpers"},
        {L"A == 2;", "Expected '=' but got '==' at position 3 of helpers"},
        {L"A", "Expected '=' at end of helpers"},
        {L"A =", "Missing token at end of helpers"},
        {L"A = 1", "Expected ; at end of helpers"},
        {L"A = 1 B = 2;", "Expected ; but got 'B' at position 7 of helpers"},
        {L"A = B;", "Could not determine type of expression at position 6 of helpers"},
        {L"A = A + 1;", "Variable 'A' used before being defined at position 5 of helpers"},
        {L"A = 1; B = A > 0 and B;", "Variable 'B' used before being defined at position 22 of helpers"},
        {L"A = 1;;", "Expected variable name but got ';' at position 7 of helpers"},
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

/// H0 = X; H1 = H0 + 0 ... with every helper using the two before it.
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

TEST(Evaluator, NamesWhatItCannotCompute)
{
    const std::string tooDeep = "qexpr::Evaluator::AddHelperVariableValues: recursionLevel > 1000";
    const struct
    {
        std::wstring helpers;
        const wchar_t* formula;
        ValueMap values;
        std::string error;
    } cases[] = {
        {L"", L"if A then 1 else B", {{L"A", Value(true)}}, "Missing definition for helper variable 'B'"},
        {L"H = sqrt(Input);", L"H + 1", {}, "Missing definition for helper variable 'Input'"},
        {L"H = sqrt(Input);", L"H + 1", {{L"Input", Value(true)}}, "qexpr::Value::operator float: Type mismatch"},
        {HelperLadder(3000), L"H999", {{L"X", Value(3.0F)}}, "no error"},
        {HelperLadder(3000), L"H2999", {{L"X", Value(3.0F)}}, tooDeep},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.formula);
        Evaluator evaluator;
        evaluator.AddHelperVariableDefinitions(c.helpers, L"helpers");
        const ExpressionPtr expression = evaluator.ParseExpression(c.formula, L"formula", Float);
        EXPECT_EQ(ErrorOf([&] { evaluator.Evaluate(*expression, c.values); }), c.error);
        // Each helper is looked into once, or this would not end.
        EXPECT_EQ(evaluator.UsesVariable(*expression, L"X"), c.values.contains(L"X"));
    }
}

} // namespace
