#pragma once

#include "expr/ASTNode.h"
#include "expr/Lexer.h"

#include <cstdint>

namespace qexpr
{

/// How deep formulas may nest, so that parsing, evaluating, printing and dropping them, which all recurse, stay within
/// any thread's stack. It bounds the depth of the tree, in which a chain of operators nests to the left, and the number
/// of parentheses, signs, arguments and conditionals around an operand.
inline constexpr std::uint32_t MaxNesting = 1000;

/// Throws ParseError at the current token.
[[noreturn]] void ThrowTooDeep(const Lexer& lexer);

/// The node, unless its tree is too deep: throws ParseError.
inline NodePtr BoundedNode(NodePtr node, const Lexer& lexer)
{
    if (node->Depth() > MaxNesting)
        ThrowTooDeep(lexer);
    return node;
}

/// Counts one enclosing construct while it lives. Throws ParseError when there are too many.
class NestingLevel
{
public:
    NestingLevel(std::uint32_t& count, const Lexer& lexer)
        : m_count(count)
    {
        if (m_count == MaxNesting)
            ThrowTooDeep(lexer);
        ++m_count;
    }
    NestingLevel(const NestingLevel&) = delete;
    NestingLevel& operator=(const NestingLevel&) = delete;
    ~NestingLevel() { --m_count; }

private:
    std::uint32_t& m_count;
};

} // namespace qexpr
