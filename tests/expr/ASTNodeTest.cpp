#include "expr/BinaryOperation.h"
#include "expr/Constant.h"
#include "expr/Functions.h"
#include "expr/IfThenElse.h"
#include "expr/UnaryOperation.h"
#include "expr/VariableReference.h"
#include "tests/expr/Outcomes.h"

#include <gtest/gtest.h>

using namespace qexpr;
using qpr::MakeCounted;
using test::ErrorOf;

namespace
{

const NodePtr Number = MakeCounted<Constant>(Value(1.0F));
const NodePtr Text = MakeCounted<Constant>(Value(L"a"));
const NodePtr Flag = MakeCounted<Constant>(Value(true));

NodePtr Add(const NodePtr& left, const NodePtr& right)
{
    return MakeCounted<ArithmeticOperation>(L"add", functions::Add, left, right);
}

NodePtr Less(const NodePtr& left, const NodePtr& right)
{
    return MakeCounted<FloatComparison>(L"lt", functions::Lt<float>, left, right);
}

NodePtr TextLess(const NodePtr& left, const NodePtr& right)
{
    return MakeCounted<StringComparison>(L"lt", functions::Lt<const std::wstring&>, left, right);
}

NodePtr Or(const NodePtr& left, const NodePtr& right)
{
    return MakeCounted<LogicalOperation>(L"or", functions::Or, left, right);
}

NodePtr Negative(const NodePtr& operand)
{
    return MakeCounted<FloatOperation>(L"neg", functions::Neg, operand);
}

NodePtr Conditional(const NodePtr& condition, const NodePtr& thenNode, const NodePtr& elseNode)
{
    return MakeCounted<IfThenElse>(condition, thenNode, elseNode);
}

NodePtr Variable(const wchar_t* name, Value::Type type)
{
    return MakeCounted<VariableReference>(name, type);
}

const std::wstring WideText =
    L"class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class std::allocator<wchar_t> >";
const std::wstring TextInstance = L"qexpr::BinaryOperation<bool," + WideText + L"," + WideText + L",bool (__cdecl*)("
    + WideText + L" const &," + WideText + L" const &)>::";

TEST(ASTNode, RefusesChildrenOfWrongTypes)
{
    const std::wstring arithmetic =
        L"qexpr::BinaryOperation<float,float,float,float (__cdecl*)(float,float)>::BinaryOperation: ";
    EXPECT_EQ(ErrorOf([] { Add(Flag, Text); }), arithmetic + L"arg0 has incorrect value type");
    EXPECT_EQ(ErrorOf([] { Add(Number, Text); }), arithmetic + L"arg1 has incorrect value type");
    EXPECT_EQ(ErrorOf([] { Less(Number, Flag); }),
        L"qexpr::BinaryOperation<bool,float,float,bool (__cdecl*)(float,float)>::BinaryOperation: arg1 has incorrect "
        "value type");
    EXPECT_EQ(
        ErrorOf([] { TextLess(Number, Text); }), TextInstance + L"BinaryOperation: arg0 has incorrect value type");
    EXPECT_EQ(ErrorOf([] { Or(Number, Flag); }),
        L"qexpr::BinaryOperation<bool,bool,bool,bool (__cdecl*)(bool,bool)>::BinaryOperation: arg0 has incorrect value "
        "type");
    EXPECT_EQ(ErrorOf([] { Negative(Flag); }),
        L"qexpr::UnaryOperation<float,float,float (__cdecl*)(float)>::UnaryOperation: arg has incorrect value type");
    EXPECT_EQ(ErrorOf([] { Conditional(Number, Number, Number); }),
        L"qexpr::IfThenElse::IfThenElse: value type of if clause is not bool");
    EXPECT_EQ(ErrorOf([] { Conditional(Flag, Number, Flag); }),
        L"qexpr::IfThenElse::IfThenElse: if and then clauses have different value types");
}

TEST(ASTNode, FixesAnUndefinedTypeOnce)
{
    const auto typeOnceMore = [](const NodePtr& node)
    { return ErrorOf([&] { node->SetDefinedValueType(Value::Type_Float); }); };
    const NodePtr variable = Variable(L"A", Value::Type_Undefined);
    variable->SetDefinedValueType(Value::Type_Float);
    EXPECT_EQ(variable->GetValueType(), Value::Type_Float);

    const std::wstring defined = L"SetDefinedValueType: value type already defined";
    EXPECT_EQ(typeOnceMore(variable), L"qexpr::VariableReference::" + defined);
    EXPECT_EQ(typeOnceMore(Number), L"qexpr::Constant::" + defined);
    EXPECT_EQ(
        typeOnceMore(Negative(Number)), L"qexpr::UnaryOperation<float,float,float (__cdecl*)(float)>::" + defined);
    EXPECT_EQ(typeOnceMore(TextLess(Text, Text)), TextInstance + defined);
    const NodePtr open = Variable(L"B", Value::Type_Undefined);
    EXPECT_EQ(typeOnceMore(Conditional(Flag, open, open)), L"qexpr::IfThenElse::" + defined);
    EXPECT_EQ(typeOnceMore(Conditional(Flag, Number, Number)), L"qexpr::Constant::" + defined);
}

TEST(ASTNode, EvaluatesTheRightOperandFirst)
{
    const NodePtr sum = Add(Variable(L"Left", Value::Type_Float), Variable(L"Right", Value::Type_Float));
    EXPECT_EQ(ErrorOf([&] { sum->Evaluate({}); }), L"Variable 'Right' not set");
    EXPECT_EQ(ErrorOf([&] { sum->Evaluate({{L"Right", Value(1.0F)}}); }), L"Variable 'Left' not set");
    EXPECT_EQ(ErrorOf(
                  [&] {
                      sum->Evaluate({{L"Right", Value(1.0F)}, {L"Left", Value(true)}});
                  }),
        L"qexpr::Value::operator float: Type mismatch");
}

TEST(ASTNode, EvaluatesBothSidesOfOrButOneBranchOfAConditional)
{
    const NodePtr unset = Variable(L"B", Value::Type_Bool);
    EXPECT_EQ(ErrorOf([&] { Or(Flag, unset)->Evaluate({}); }), L"Variable 'B' not set");
    EXPECT_TRUE(static_cast<bool>(Conditional(Flag, Flag, unset)->Evaluate({})));
}

} // namespace
