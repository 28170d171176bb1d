#include "expr/Evaluator.h"
#include "tests/expr/Outcomes.h"

#include <gtest/gtest.h>

using namespace qexpr;
using namespace test;

namespace
{

TEST(Parser, ReadsFormulas)
{
    const std::tuple<const wchar_t*, Value::Type, const wchar_t*, const wchar_t*> formulas[] = {
        // literals
        {L"2.", Any, L"2", L"2"},
        {L" 2.5e3\t", Any, L"2500", L"2500"},
        {L"1e-999", Any, L"0", L"0"},
        {L"\"a'b\"", Any, L"'a'b'", L"'a'b'"},
        {L"''", String, L"''", L"''"},
        {L"true", Bool, L"true", L"true"},
        // precedence and association
        {L"-2 ^ 2", Any, L"pow(neg(2), 2)", L"4"},
        {L"1 - - 1", Any, L"sub(1, neg(1))", L"2"},
        {L"1 + + 1", Any, L"add(1, 1)", L"2"},
        {L"1 < 2 and 2 >= 3 or 1 != 2", Any, L"or(and(lt(1, 2), ge(2, 3)), ne(1, 2))", L"true"},
        {L"1<2&&2<1||2<=2", Any, L"or(and(lt(1, 2), lt(2, 1)), le(2, 2))", L"true"},
        // functions
        {L"min(1, 2) + max(1, 2)", Float, L"add(min(1, 2), max(1, 2))", L"3"},
        {L"abs(-3) * sqrt(4)", Float, L"mul(abs(neg(3)), sqrt(4))", L"6"},
        {L"pow(2, 1 + 2)", Float, L"pow(2, add(1, 2))", L"8"},
        {L"sqrt(if A > B then 4 else 9)", Float, L"sqrt(if_then_else(gt(float A, float B), 4, 9))", L"3"},
        // the float rules
        {L"1 / 0", Any, L"div(1, 0)", L"inf"},
        {L"0 / 0 == 0 / 0", Any, L"eq(div(0, 0), div(0, 0))", L"false"},
        {L"sqrt(-1) > 0", Any, L"gt(sqrt(neg(1)), 0)", L"false"},
        {L"-0", Any, L"neg(0)", L"-0"},
        {L"min(0, -0)", Any, L"min(0, neg(0))", L"0"},
        {L"max(0/0, 1) == 1", Any, L"eq(max(div(0, 0), 1), 1)", L"false"},
        // strings
        {L"\"abc\" == 'abc'", Any, L"eq('abc', 'abc')", L"true"},
        {L"'ab' < 'abc' and 'B' < 'a'", Any, L"and(lt('ab', 'abc'), lt('B', 'a'))", L"true"},
        {L"S == 'text'", Bool, L"eq(string S, 'text')", L"true"},
        {L"'text' != S", Bool, L"ne('text', string S)", L"false"},
        // types of variables
        {L"A == B", Any, L"eq(float A, float B)", L"false"},
        {L"A - A", Any, L"sub(float A, float A)", L"0"},
        {L"sqrt(A) + A", Any, L"add(sqrt(float A), float A)", L"2"},
        {L"sqrt((A)) + sqrt((A))", Any, L"add(sqrt(float A), sqrt(float A))", L"2"},
        {L"string S", Any, L"string S", L"'text'"},
        {L"string S == T", Any, L"eq(string S, string T)", L"false"},
        {L"bool F or G", Any, L"or(bool F, bool G)", L"true"},
        {L"x", Float, L"float x", L"7"},
        {L"_", Bool, L"bool _", L"true"},
        // a type hint binds the next operand only, and a function call takes none
        {L"bool sqrt(4) + 1", Any, L"add(sqrt(4), 1)", L"3"},
        // conditionals
        {L"if G then A else 2", Any, L"if_then_else(bool G, float A, 2)", L"2"},
        {L"if F then A else B", Float, L"if_then_else(bool F, float A, float B)", L"1"},
        {L"if A > B then 1 else if F then 2 else 3", Any,
            L"if_then_else(gt(float A, float B), 1, if_then_else(bool F, 2, 3))", L"2"},
        {L"if B + 1 > A then 1 else 0", Any, L"if_then_else(gt(add(float B, 1), float A), 1, 0)", L"1"},
        {L"if A < (B + 1) then 1 else 0", Any, L"if_then_else(lt(float A, add(float B, 1)), 1, 0)", L"1"},
    };
    const ValueMap values = {{L"A", Value(1.0F)}, {L"B", Value(2.0F)}, {L"S", Value(L"text")}, {L"T", Value(L"other")},
        {L"F", Value(true)}, {L"G", Value(false)}, {L"x", Value(7.0F)}, {L"_", Value(true)}};
    for (const auto& [text, requiredType, canonical, value] : formulas)
    {
        SCOPED_TRACE(text);
        Evaluator evaluator;
        const ExpressionPtr expression = evaluator.ParseExpression(text, L"formula", requiredType);
        EXPECT_EQ(expression->ToText(), canonical);
        EXPECT_EQ(Printed(evaluator.Evaluate(*expression, values)), value);
    }
}

TEST(Parser, NamesThePositionOfEveryError)
{
    const std::tuple<const wchar_t*, Value::Type, const char*> formulas[] = {
        // tokens
        {L"", Float, "Missing token at end of formula"},
        {L"1 +", Float, "Missing token at end of formula"},
        {L"1 + #", Float, "Invalid character '#' at position 5 of formula"},
        {L"1 + .5", Float, "Invalid character '.' at position 5 of formula"},
        {L"A == 'abc", Any, "Unterminated string literal at position 6 of formula"},
        {L"1 + 2e+", Float, "Invalid float literal at position 5 of formula"},
        {L"1e999", Float, "Invalid float literal at position 1 of formula"},
        {L"2 345", Float, "Expected end of input but got '3' at position 3 of formula"},
        {L"2 'text'", Float, "Expected end of input but got ''' at position 3 of formula"},
        {L"2x", Float, "Expected end of input but got 'x' at position 2 of formula"},
        {L"A & B", Bool, "Expected end of input but got '&' at position 3 of formula"},
        {L"A = B", Bool, "Expected end of input but got '=' at position 3 of formula"},
        {L"A)", Float, "Expected end of input but got ')' at position 2 of formula"},
        {L"!A", Bool, "Invalid token '!' at position 1 of formula"},
        {L"1 * * 2", Float, "Invalid token '*' at position 5 of formula"},
        {L"1 + if A then 1 else 2", Float, "Invalid token 'if' at position 5 of formula"},
        {L"size + 1", Float, "Invalid token 'size' at position 1 of formula"},
        // terminators
        {L"(1", Float, "Expected ) at end of formula"},
        {L"(1 2", Float, "Expected ) but got '2' at position 4 of formula"},
        {L"if A else 1", Float, "Expected then but got 'else' at position 6 of formula"},
        {L"if A then 1", Float, "Expected else at end of formula"},
        {L"sqrt x", Float, "Expected '(' but got 'x' at position 6 of formula"},
        {L"sqrt", Float, "Expected '(' at end of formula"},
        {L"min(1)", Float, "Expected , but got ')' at position 6 of formula"},
        {L"sqrt(1, 2)", Float, "Expected ) but got ',' at position 7 of formula"},
        // types
        {L"1", Bool, "Wrong result type float (should be bool) at end of formula"},
        {L"sqrt('a')", Any, "Expected float expression but got ''' at position 6 of formula"},
        {L"bool 2", Any, "Expected bool expression but got '2' at position 6 of formula"},
        {L"-true", Any, "Expected float expression but got 'true' at position 2 of formula"},
        {L"string -2", Any, "Expected string expression but got '-' at position 8 of formula"},
        {L"-(true)", Any, "Wrong result type bool (should be float) at position 7 of formula"},
        {L"float float A", Any, "Redundant type hint at position 7 of formula"},
        {L"sqrt(float A)", Any, "Redundant type hint at position 6 of formula"},
        {L"'a' + 1 - 2", Any, "Infix operand type mismatch at position 9 of formula"},
        {L"true == false", Any, "Infix operand type mismatch at end of formula"},
        {L"'a' < 1", Any, "Infix operand type mismatch at end of formula"},
        {L"if X < Y + 1 then 1 else 0", Any, "Infix operand type mismatch at position 14 of formula"},
        {L"if A then 1 else 'a'", Any, "Wrong result type string (should be float) at end of formula"},
        {L"A", Any, "Could not determine type of expression at end of formula"},
        {L"if F then A else B", Any, "Could not determine type of expression at end of formula"},
        // variables
        {L"sqrt(X) + sqrt(X)", Any,
            "Attempt to use previously used float variable 'X' as a float at position 16 of formula"},
        {L"min(X, X)", Any, "Attempt to use previously used float variable 'X' as a float at position 8 of formula"},
        {L"X == 'a' and -X > 1", Any,
            "Attempt to use previously used string variable 'X' as a float at position 15 of formula"},
        {L"-Known", Any, "Attempt to use known string variable 'Known' as a float at position 2 of formula"},
        {L"Known + 1", Any, "Infix operand type mismatch at end of formula"},
        // typing that the language does not resolve
        {L"(if F then A else B) + 1", Any, "qexpr::IfThenElse::SetDefinedValueType: value type already defined"},
        {L"if F then X else Y < sqrt(X)", Any,
            "qexpr::IfThenElse::IfThenElse: if and then clauses have different value types"},
    };
    for (const auto& [formula, requiredType, error] : formulas)
    {
        Evaluator evaluator;
        evaluator.ParseExpression(L"string Known", L"known", Any);
        EXPECT_EQ(
            ErrorOf([&, text = formula, type = requiredType] { evaluator.ParseExpression(text, L"formula", type); }),
            error)
            << formula;
    }
}

TEST(Parser, MakesTheVariablesOfGoodFormulasKnownAndOfBadOnesNot)
{
    Evaluator evaluator;
    EXPECT_THROW(evaluator.ParseExpression(L"sqrt(A) + B )", L"formula", Float), ParseError);
    ValueTypeMap types;
    evaluator.GetInputVariableTypes(types);
    EXPECT_TRUE(types.empty());

    evaluator.ParseExpression(L"A + 1", L"formula", Float);
    EXPECT_EQ(evaluator.ParseExpression(L"A", L"formula", Any)->ToText(), L"float A");
    EXPECT_THROW(evaluator.ParseExpression(L"string A", L"formula", Any), ParseError);
}

} // namespace
