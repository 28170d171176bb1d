#include "expr/FormulaVariables.h"

#include "runtime/text/Errors.h"

#include <stdexcept>

namespace qexpr
{

namespace
{

std::wstring MisuseMessage(
    std::wstring_view attempt, Value::Type actualType, std::wstring_view name, Value::Type requiredType)
{
    return std::wstring(attempt) + L' ' + Value::TypeToString(actualType) + L" variable '" + std::wstring(name)
        + L"' as a " + Value::TypeToString(requiredType);
}

} // namespace

NodePtr FormulaVariables::Use(Value::Type type)
{
    const std::wstring_view name = m_lexer.Current().text;
    if (name == m_definedName)
        m_lexer.ThrowError(L"Variable '" + std::wstring(name) + L"' used before being defined");
    const auto place = m_used.lower_bound(name);
    if (place != m_used.end() && (*place)->GetName() == name)
    {
        if (type != Value::Type_Undefined)
            FixType(**place, type);
        return *place;
    }
    return *m_used.insert(place, qpr::MakeCounted<VariableReference>(name, TypeOfNewVariable(type)));
}

void FormulaVariables::FixType(VariableReference& variable, Value::Type type) const
{
    if (variable.GetValueType() != Value::Type_Undefined)
        m_lexer.ThrowError(
            MisuseMessage(L"Attempt to use previously used", variable.GetValueType(), variable.GetName(), type));
    variable.SetDefinedValueType(type);
}

Value::Type FormulaVariables::TypeOfNewVariable(Value::Type type) const
{
    const std::wstring_view name = m_lexer.Current().text;
    const auto known = m_knownTypes.find(name);
    if (known == m_knownTypes.end())
        return type;
    if (type != Value::Type_Undefined && type != known->second)
        m_lexer.ThrowError(MisuseMessage(L"Attempt to use known", known->second, name, type));
    if (known->second == Value::Type_Undefined)
        throw std::logic_error("qexpr::Parser::MakeNewVariableReferenceUsingKnownVariableType: knownVariableType == "
                               "Value::Type_Undefined");
    return known->second;
}

void FormulaVariables::MakeKnown(const ASTNode& root)
{
    for (const auto& variable : m_used)
        PostProcess(*variable, root);
    for (const auto& variable : m_used)
        m_knownTypes.try_emplace(variable->GetName(), variable->GetValueType());
}

void FormulaVariables::PostProcess(VariableReference& variable, const ASTNode& root) const
{
    const Value::Type type = variable.GetValueType();
    const auto known = m_knownTypes.find(variable.GetName());
    if (known == m_knownTypes.end())
    {
        if (type == Value::Type_Undefined)
            throw qpr::RuntimeError(
                L"Could not determine type of variable '" + variable.GetName() + L"' in " + root.ToText());
        return;
    }
    if (known->second == Value::Type_Undefined)
        throw std::logic_error("qexpr::`anonymous-namespace'::PostProcessVariableReference: knownVariableType == "
                               "Value::Type_Undefined");
    if (type == Value::Type_Undefined)
        variable.SetDefinedValueType(known->second);
    else if (type != known->second)
        throw std::logic_error("qexpr::`anonymous-namespace'::PostProcessVariableReference: variableReferenceType != "
                               "knownVariableType");
}

} // namespace qexpr
