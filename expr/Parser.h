#pragma once

#include "expr/Expression.h"
#include "expr/Lexer.h"
#include "expr/Value.h"

#include <map>
#include <string>
#include <string_view>

namespace qexpr
{

/// The helper variables' formulas by name.
using HelperDefinitions = std::map<std::wstring, ExpressionPtr, NameOrder>;

/// Builds the tree of a formula and infers the type of every variable on the way, from literals, operators, functions,
/// type hints and the types already known. docs/Formulas.md teaches the language.
///
/// A parser reads one text, once. The text, its description and the map of known types outlive it. Errors in the text
/// are ParseError. A formula that fails enters nothing in the known types.
class Parser
{
public:
    Parser(std::wstring_view text, std::wstring_view description, ValueTypeMap& knownVariableTypes)
        : m_lexer(text, description)
        , m_knownVariableTypes(knownVariableTypes)
    {
    }

    /// The whole text as a formula of the required type, which may be undefined. Its variables become known.
    ExpressionPtr ParseFormula(Value::Type requiredType) { return ParseFormula(requiredType, {}, {}); }

    /// The whole text as definitions "Name = formula;". They are added to the given ones and their names become known;
    /// those before an error stay.
    void ParseHelperDefinitions(HelperDefinitions& definitions);

private:
    /// The next formula, up to the terminator, or to the end of the text when there is none; of the helper by that
    /// name, or of none.
    ExpressionPtr ParseFormula(Value::Type requiredType, std::wstring_view terminator, std::wstring_view definedName);
    void ParseHelperDefinition(HelperDefinitions& definitions);

    Lexer m_lexer;
    ValueTypeMap& m_knownVariableTypes; // the evaluator's
};

} // namespace qexpr
