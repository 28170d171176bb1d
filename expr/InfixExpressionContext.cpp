#include "expr/InfixExpressionContext.h"

#include <cmath>
#include <functional>
#include <stdexcept>

namespace qexpr
{

namespace
{

/// Compares floats by the float rules, strings unit by unit.
template <class Relation, class T>
bool Compare(T a, T b)
{
    return Relation()(a, b);
}

template <class Relation>
constexpr InfixOperator Comparison(std::wstring_view token, int level, const wchar_t* name)
{
    return {token, level, name, nullptr, Compare<Relation, float>, Compare<Relation, std::wstring_view>, nullptr};
}

constexpr InfixOperator Arithmetic(std::wstring_view token, int level, const wchar_t* name, FloatPairFunction function)
{
    return {token, level, name, function, nullptr, nullptr, nullptr};
}

constexpr InfixOperator Logic(std::wstring_view token, int level, const wchar_t* name, BoolPairFunction function)
{
    return {token, level, name, nullptr, nullptr, nullptr, function};
}

constexpr BoolPairFunction And = [](bool a, bool b) { return a && b; };
constexpr BoolPairFunction Or = [](bool a, bool b) { return a || b; };

constexpr InfixOperator Operators[] = {
    Arithmetic(L"+", 4, L"add", [](float a, float b) { return a + b; }),
    Arithmetic(L"-", 4, L"sub", [](float a, float b) { return a - b; }),
    Arithmetic(L"*", 5, L"mul", [](float a, float b) { return a * b; }),
    Arithmetic(L"/", 5, L"div", [](float a, float b) { return a / b; }),
    Arithmetic(L"^", 6, L"pow", [](float a, float b) { return std::pow(a, b); }),
    Comparison<std::less<>>(L"<", 3, L"lt"),
    Comparison<std::greater<>>(L">", 3, L"gt"),
    Comparison<std::less_equal<>>(L"<=", 3, L"le"),
    Comparison<std::greater_equal<>>(L">=", 3, L"ge"),
    Comparison<std::equal_to<>>(L"==", 2, L"eq"),
    Comparison<std::not_equal_to<>>(L"!=", 2, L"ne"),
    Logic(L"and", 1, L"and", And),
    Logic(L"&&", 1, L"and", And),
    Logic(L"or", 0, L"or", Or),
    Logic(L"||", 0, L"or", Or),
};

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

void ThrowTooDeep(const Lexer& lexer)
{
    lexer.ThrowError(L"Expression nested more than " + std::to_wstring(MaxNesting) + L" deep");
}

NodePtr BoundedNode(NodePtr node, const Lexer& lexer)
{
    if (node->Depth() > MaxNesting)
        ThrowTooDeep(lexer);
    return node;
}

const InfixOperator* FindInfixOperator(std::wstring_view token)
{
    const auto* const found = std::ranges::find(Operators, token, &InfixOperator::token);
    return found == std::end(Operators) ? nullptr : found;
}

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

/// Whether both operands have the type or can be given it. An undefined one is given it only when both match.
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
