#pragma once

#include "expr/Expression.h"
#include "expr/Lexer.h"
#include "expr/Value.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace qexpr
{

/// The helper variables' formulas by name.
using HelperDefinitions = std::map<std::wstring, ExpressionPtr>;

/// Builds the tree of a formula and infers the type of every variable on the way, from literals, operators, functions,
/// type hints and the types already known. docs/Formulas.md teaches the language.
///
/// A parser reads one text, once. The text, its description and the map of known types outlive it. Errors in the text
/// are ParseError; a formula that nests deeper than MaxNesting is one. A formula that fails enters nothing in the known
/// types.
class Parser
{
public:
    /// Bounds the depth of the tree (a chain of operators nests to the left) and of what encloses an operand.
    static constexpr std::uint32_t MaxNesting = 1000;

    Parser(std::wstring_view text, std::wstring_view description, ValueTypeMap& knownVariableTypes);

    /// The whole text as one formula of the required type, which may be undefined. The formula's variables become
    /// known.
    ExpressionPtr ParseFormula(Value::Type requiredType);

    /// The whole text as definitions "Name = formula;", which are added to the given ones and become known. Those
    /// before an error stay.
    void ParseHelperDefinitions(HelperDefinitions& definitions);

private:
    class NestingLevel;

    ExpressionPtr ParseFormula(Value::Type requiredType, std::wstring_view terminator);
    void ParseHelperDefinition(HelperDefinitions& definitions);

    /// firstOperandType is what the first operand of an infix expression must be, usually undefined.
    NodePtr ParseExpression(Value::Type type, std::wstring_view terminator, Value::Type firstOperandType);
    NodePtr ParseConditional(Value::Type type, std::wstring_view terminator);
    NodePtr ParseInfixExpression(Value::Type type, std::wstring_view terminator, Value::Type firstOperandType);
    NodePtr ParseOperand(Value::Type type);
    NodePtr ParseSymbolOperand(Value::Type type);
    NodePtr ParseSign(Value::Type type);
    NodePtr ParseWordOperand(Value::Type type);
    NodePtr ParseTypeHint(Value::Type hintedType, Value::Type type);
    NodePtr ParseFunctionCallIfOne();
    NodePtr ParseArgument(std::wstring_view terminator);
    NodePtr ParseVariable(Value::Type type);
    NodePtr ReuseVariable(VariableReference& variable, Value::Type type);
    Value::Type TypeOfNewVariable(std::wstring_view name, Value::Type type) const;

    NodePtr Bounded(NodePtr node) const;
    void RequireAllowed(Value::Type actualType, Value::Type type) const;
    void ExpectToken(wchar_t symbol);
    [[noreturn]] void ThrowExpected(std::wstring_view what) const;

    Lexer m_lexer;
    ValueTypeMap& m_knownVariableTypes; // the evaluator's
    UsedVariables m_usedVariables;
    std::uint32_t m_nesting = 0;
};

} // namespace qexpr
