#include "expr/InfixExpressionContext.h"

#include "expr/Functions.h"
#include "expr/Nesting.h"

#include <stdexcept>

namespace qexpr
{

namespace
{

using namespace functions;
using String = const std::wstring&;

constexpr InfixOperator Operators[] = {
    {L"+", 4, L"add", Add, nullptr, nullptr, nullptr},
    {L"-", 4, L"sub", Sub, nullptr, nullptr, nullptr},
    {L"*", 5, L"mul", Mul, nullptr, nullptr, nullptr},
    {L"/", 5, L"div", Div, nullptr, nullptr, nullptr},
    {L"^", 6, L"pow", Pow, nullptr, nullptr, nullptr},
    {L"<", 3, L"lt", nullptr, Lt<float>, Lt<String>, nullptr},
    {L">", 3, L"gt", nullptr, Gt<float>, Gt<String>, nullptr},
    {L"<=", 3, L"le", nullptr, Le<float>, Le<String>, nullptr},
    {L">=", 3, L"ge", nullptr, Ge<float>, Ge<String>, nullptr},
    {L"==", 2, L"eq", nullptr, Eq<float>, Eq<String>, nullptr},
    {L"!=", 2, L"ne", nullptr, Ne<float>, Ne<String>, nullptr},
    {L"and", 1, L"and", nullptr, nullptr, nullptr, And},
    {L"&&", 1, L"and", nullptr, nullptr, nullptr, And},
    {L"or", 0, L"or", nullptr, nullptr, nullptr, Or},
    {L"||", 0, L"or", nullptr, nullptr, nullptr, Or},
};

} // namespace

const InfixOperator* FindInfixOperator(std::wstring_view token)
{
    for (const InfixOperator& candidate : Operators)
        if (candidate.token == token)
            return &candidate;
    return nullptr;
}

namespace
{

bool Allows(Value::Type requiredType, Value::Type type)
{
    return requiredType == Value::Type_Undefined || requiredType == type;
}

template <class Operation, class Function>
NodePtr Make(const InfixOperator& infixOperator, Function function, NodePtr left, NodePtr right)
{
    return qpr::MakeCounted<Operation>(infixOperator.functionName, function, std::move(left), std::move(right));
}

} // namespace

void InfixExpressionContext::PushOperator(const InfixOperator& infixOperator)
{
    while (m_operatorCount > 0 && m_operators[m_operatorCount - 1]->level >= infixOperator.level)
        ReduceTopOperator(Value::Type_Undefined);
    m_operators[m_operatorCount++] = &infixOperator;
}

NodePtr InfixExpressionContext::GetExpression(Value::Type requiredType)
{
    while (m_operatorCount > 0)
        ReduceTopOperator(requiredType);
    NodePtr expression = PopOperand();
    if (m_operandCount != 0)
        throw std::logic_error("qexpr::Parser::InfixExpressionContext::GetExpression: !m_operandStack.empty()");
    return RequireType(std::move(expression), requiredType);
}

NodePtr InfixExpressionContext::PopOperand()
{
    if (m_operandCount == 0)
        throw std::logic_error("qexpr::Parser::InfixExpressionContext::PopOperand: m_operandStack.empty()");
    return std::move(m_operands[--m_operandCount]);
}

void InfixExpressionContext::ReduceTopOperator(Value::Type requiredType)
{
    const InfixOperator& infixOperator = *m_operators[--m_operatorCount];
    NodePtr right = PopOperand();
    NodePtr left = PopOperand();
    PushOperand(BoundedNode(MakeOperation(infixOperator, std::move(left), std::move(right), requiredType), m_lexer));
}

NodePtr InfixExpressionContext::MakeOperation(
    const InfixOperator& infixOperator, NodePtr left, NodePtr right, Value::Type requiredType) const
{
    const auto fits = [&](auto function, Value::Type resultType, Value::Type operandType)
    { return function && Allows(requiredType, resultType) && MatchOperands(*left, *right, operandType); };

    if (fits(infixOperator.arithmetic, Value::Type_Float, Value::Type_Float))
        return Make<ArithmeticOperation>(infixOperator, infixOperator.arithmetic, std::move(left), std::move(right));
    if (fits(infixOperator.floatRelation, Value::Type_Bool, Value::Type_Float))
        return Make<FloatComparison>(infixOperator, infixOperator.floatRelation, std::move(left), std::move(right));
    if (fits(infixOperator.stringRelation, Value::Type_Bool, Value::Type_String))
        return Make<StringComparison>(infixOperator, infixOperator.stringRelation, std::move(left), std::move(right));
    if (fits(infixOperator.logical, Value::Type_Bool, Value::Type_Bool))
        return Make<LogicalOperation>(infixOperator, infixOperator.logical, std::move(left), std::move(right));
    m_lexer.ThrowError(L"Infix operand type mismatch");
}

/// Whether both operands have the type, or can be given it; an undefined one is given it only when both match.
bool InfixExpressionContext::MatchOperands(ASTNode& left, ASTNode& right, Value::Type type) const
{
    const Value::Type leftType = left.GetValueType();
    const Value::Type rightType = right.GetValueType();
    if (!(leftType == type || leftType == Value::Type_Undefined)
        || !(rightType == type || rightType == Value::Type_Undefined))
        return false;
    if (leftType == Value::Type_Undefined)
        left.SetDefinedValueType(type);
    // One variable on both sides has its type by now.
    if (right.GetValueType() == Value::Type_Undefined)
        right.SetDefinedValueType(type);
    else if (right.GetValueType() != type)
        m_lexer.ThrowError(L"Setting lhs value type caused setting of incompatible rhs value type");
    return true;
}

NodePtr InfixExpressionContext::RequireType(NodePtr expression, Value::Type requiredType) const
{
    if (requiredType == Value::Type_Undefined)
        return expression;
    const Value::Type type = expression->GetValueType();
    if (type == Value::Type_Undefined)
        expression->SetDefinedValueType(requiredType);
    else if (type != requiredType)
        m_lexer.ThrowError(std::wstring(L"Wrong result type ") + Value::TypeToString(type) + L" (should be "
            + Value::TypeToString(requiredType) + L")");
    return expression;
}

} // namespace qexpr
