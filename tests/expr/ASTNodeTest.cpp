#include "expr/Nodes.h"
#include "tests/expr/Outcomes.h"

#include <functional>
#include <gtest/gtest.h>

using namespace qexpr;
using qpr::MakeCounted;

namespace
{

const NodePtr Number = MakeCounted<Constant>(Value(1.0F));
const NodePtr Text = MakeCounted<Constant>(Value(L"a"));
const NodePtr Flag = MakeCounted<Constant>(Value(true));

NodePtr Add(const NodePtr& left, const NodePtr& right)
{
    return MakeCounted<ArithmeticOperation>(
        L"add", [](float a, float b) { return a + b; }, left, right);
}

NodePtr TextLess(const NodePtr& left, const NodePtr& right)
{
    return MakeCounted<StringComparison>(
        L"lt", [](std::wstring_view a, std::wstring_view b) { return a < b; }, left, right);
}

NodePtr Or(const NodePtr& left, const NodePtr& right)
{
    return MakeCounted<LogicalOperation>(
        L"or", [](bool a, bool b) { return a || b; }, left, right);
}

NodePtr Negative(const NodePtr& operand)
{
    return MakeCounted<FloatOperation>(
        L"neg", [](float a) { return -a; }, operand);
}

NodePtr If(const NodePtr& condition, const NodePtr& thenNode, const NodePtr& elseNode)
{
    return MakeCounted<IfThenElse>(condition, thenNode, elseNode);
}

NodePtr Variable(const wchar_t* name, Value::Type type)
{
    return MakeCounted<VariableReference>(name, type);
}

void DefineType(const NodePtr& node)
{
    node->SetDefinedValueType(Value::Type_Float);
}

TEST(ASTNode, NamesItsFailuresInFull)
{
    const std::string arithmetic = "qexpr::BinaryOperation<float,float,float,float (__cdecl*)(float,float)>::";
    const std::string relation = "qexpr::BinaryOperation<bool,float,float,bool (__cdecl*)(float,float)>::";
    const std::string logic = "qexpr::BinaryOperation<bool,bool,bool,bool (__cdecl*)(bool,bool)>::";
    const std::string wide =
        "class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class std::allocator<wchar_t> >";
    const std::string textRelation = "qexpr::BinaryOperation<bool," + wide + "," + wide + ",bool (__cdecl*)(" + wide
        + " const &," + wide + " const &)>::";
    const std::string unary = "qexpr::UnaryOperation<float,float,float (__cdecl*)(float)>::";
    const std::string wrong0 = "BinaryOperation: arg0 has incorrect value type";
    const std::string wrong1 = "BinaryOperation: arg1 has incorrect value type";
    const std::string defined = "SetDefinedValueType: value type already defined";
    const NodePtr open = Variable(L"B", Value::Type_Undefined);
    const NodePtr left = Variable(L"Left", Value::Type_Float);
    const NodePtr right = Variable(L"Right", Value::Type_Float);
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[] { Add(Flag, Text); }, arithmetic + wrong0},
        {[] { Add(Number, Text); }, arithmetic + wrong1},
        {[]
            {
                MakeCounted<FloatComparison>(
                    L"lt", [](float a, float b) { return a < b; }, Number, Flag);
            },
            relation + wrong1},
        {[] { TextLess(Number, Text); }, textRelation + wrong0},
        {[] { Or(Number, Flag); }, logic + wrong0},
        {[] { Negative(Flag); }, unary + "UnaryOperation: arg has incorrect value type"},
        {[] { If(Number, Number, Number); }, "qexpr::IfThenElse::IfThenElse: value type of if clause is not bool"},
        // A type is fixed once, and only where it was left open; a conditional passes it on.
        {[&] { DefineType(left); }, "qexpr::VariableReference::" + defined},
        {[] { DefineType(Number); }, "qexpr::Constant::" + defined},
        {[] { DefineType(Negative(Number)); }, unary + defined},
        {[] { DefineType(TextLess(Text, Text)); }, textRelation + defined},
        {[&] { DefineType(If(Flag, open, open)); }, "qexpr::IfThenElse::" + defined},
        {[] { DefineType(If(Flag, Number, Number)); }, "qexpr::Constant::" + defined},
        // The right operand is evaluated first, and both always are.
        {[&] { Add(left, right)->Evaluate({}); }, "Variable 'Right' not set"},
        {[&] { Add(left, Number)->Evaluate({}); }, "Variable 'Left' not set"},
        {[&] {
             Add(Number, left)->Evaluate({{L"Left", Value(true)}});
         },
            "qexpr::Value::operator float: Type mismatch"},
        {[] { Or(Flag, Variable(L"B", Value::Type_Bool))->Evaluate({}); }, "Variable 'B' not set"},
        {[&] { If(Flag, Number, left)->Evaluate({}); }, "no error"},
        {[&] { DefineType(open); }, "no error"},
    };
    for (const auto& [action, error] : cases)
        EXPECT_EQ(test::ErrorOf(action), error);
    EXPECT_EQ(open->GetValueType(), Value::Type_Float);
}

} // namespace
