#pragma once

#include "expr/Lexer.h"
#include "expr/Nodes.h"

#include <array>
#include <string_view>

namespace qexpr
{

/// How deep formulas may nest, so that parsing, evaluating, printing and dropping them, which all recurse, stay within
/// any thread's stack. It bounds the depth of the tree, in which a chain of operators nests to the left, and the number
/// of parentheses, signs, arguments and conditionals around an operand.
inline constexpr std::uint32_t MaxNesting = 1000;

/// Throws ParseError at the current token.
[[noreturn]] void ThrowTooDeep(const Lexer& lexer);

/// The node, unless its tree is too deep: throws ParseError.
NodePtr BoundedNode(NodePtr node, const Lexer& lexer);

/// A binary operator of the language. The functions that are not null tell which operand types it takes.
struct InfixOperator
{
    std::wstring_view token;
    int level; ///< higher binds tighter
    const wchar_t* functionName;
    FloatPairFunction arithmetic;
    FloatRelation floatRelation;
    StringRelation stringRelation;
    BoolPairFunction logical;
};

/// The number of precedence levels; they count from 0.
inline constexpr int InfixOperatorLevels = 7;

/// Null when the token is not an operator.
const InfixOperator* FindInfixOperator(std::wstring_view token);

/// Operands and operators of one infix expression, reduced to a tree by precedence. All operators associate to the
/// left, "^" too. Errors are ParseError at the lexer's current token.
class InfixExpressionContext
{
public:
    explicit InfixExpressionContext(const Lexer& lexer)
        : m_lexer(lexer)
    {
    }

    void PushOperand(NodePtr operand) { m_operands[m_operandCount++] = std::move(operand); }

    /// First reduces the pending operators that bind at least as tightly.
    void PushOperator(const InfixOperator& infixOperator);

    /// Reduces all that is pending, every operation being required to give the type (so "X < Y + 1" is no bool), and
    /// requires the type of the result. An undefined type requires nothing.
    NodePtr GetExpression(Value::Type requiredType);

private:
    NodePtr PopOperand();
    void ReduceTopOperator(Value::Type requiredType);
    NodePtr MakeOperation(
        const InfixOperator& infixOperator, NodePtr left, NodePtr right, Value::Type requiredType) const;
    bool MatchOperands(ASTNode& left, ASTNode& right, Value::Type type) const;
    NodePtr RequireType(NodePtr expression, Value::Type requiredType) const;

    const Lexer& m_lexer;
    // Each pending operator binds more tightly than the one before it, so there is at most one per level.
    std::array<NodePtr, InfixOperatorLevels + 1> m_operands;
    std::array<const InfixOperator*, InfixOperatorLevels> m_operators;
    std::size_t m_operandCount = 0;
    std::size_t m_operatorCount = 0;
};

} // namespace qexpr
