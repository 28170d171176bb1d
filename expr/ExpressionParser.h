#pragma once

#include "expr/ASTNode.h"
#include "expr/FormulaVariables.h"
#include "expr/Lexer.h"

#include <cstdint>
#include <string_view>

namespace qexpr
{

/// The grammar of one formula, by recursive descent that MaxNesting bounds. Errors are ParseError at the current token,
/// and std::logic_error where a type is asked of a conditional that has none.
class ExpressionParser
{
public:
    /// Both outlive this.
    ExpressionParser(Lexer& lexer, FormulaVariables& variables)
        : m_lexer(lexer)
        , m_variables(variables)
    {
    }

    /// An expression of the type (undefined: of any) up to and with the terminator, or to the end of the text when that
    /// is empty.
    NodePtr ParseExpression(Value::Type type, std::wstring_view terminator)
    {
        return ParseExpression(type, terminator, Value::Type_Undefined);
    }

private:
    NodePtr ParseExpression(Value::Type type, std::wstring_view terminator, Value::Type firstOperandType);
    NodePtr ParseConditional(Value::Type type, std::wstring_view terminator);
    NodePtr ParseInfixExpression(Value::Type type, std::wstring_view terminator, Value::Type firstOperandType);
    NodePtr ParseOperand(Value::Type type);
    NodePtr ParseSymbol(Value::Type type);
    NodePtr ParseSign(Value::Type type);
    NodePtr ParseWord(Value::Type type);
    NodePtr ParseTypeHint(Value::Type type);
    NodePtr ParseFunctionCall();
    NodePtr ParseArgument(std::wstring_view terminator);
    void RequireAllowed(Value::Type operandType, Value::Type type) const;

    Lexer& m_lexer;
    FormulaVariables& m_variables;
    std::uint32_t m_nesting = 0;
};

} // namespace qexpr
