#include "expr/Parser.h"

#include "expr/ExpressionParser.h"
#include "expr/FormulaVariables.h"

namespace qexpr
{

ExpressionPtr Parser::ParseFormula(
    Value::Type requiredType, std::wstring_view terminator, std::wstring_view definedName)
{
    FormulaVariables variables(m_lexer, m_knownVariableTypes, definedName);
    NodePtr root = ExpressionParser(m_lexer, variables).ParseExpression(requiredType, terminator);
    if (root->GetValueType() == Value::Type_Undefined)
        m_lexer.ThrowError(L"Could not determine type of expression");
    variables.MakeKnown(*root);
    return qpr::MakeCounted<Expression>(std::move(root), variables.Take());
}

void Parser::ParseHelperDefinitions(HelperDefinitions& definitions)
{
    while (m_lexer.ReadToken())
        ParseHelperDefinition(definitions);
}

void Parser::ParseHelperDefinition(HelperDefinitions& definitions)
{
    if (!IsVariableName(m_lexer.Current().text))
        m_lexer.ThrowExpected(L"variable name");
    std::wstring name(m_lexer.Current().text);
    m_lexer.ExpectSymbol(L'=');
    if (definitions.contains(name))
        m_lexer.ThrowError(L"Variable '" + name + L"' already defined");
    if (m_knownVariableTypes.contains(name))
        m_lexer.ThrowError(L"Variable '" + name + L"' used before being defined");
    ExpressionPtr definition = ParseFormula(Value::Type_Undefined, L";", name);
    const Value::Type type = definition->GetValueType();
    definitions.emplace(name, std::move(definition));
    m_knownVariableTypes.insert_or_assign(std::move(name), type);
}

} // namespace qexpr
