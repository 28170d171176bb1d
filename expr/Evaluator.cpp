#include "expr/Evaluator.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <vector>

namespace qexpr
{

namespace
{

constexpr int MaxRecursionLevel = 1000;

bool HasAllValues(const UsedVariables& variables, const ValueMap& values)
{
    return std::ranges::all_of(variables, [&](const auto& variable) { return values.contains(variable->GetName()); });
}

} // namespace

void Evaluator::AddHelperVariableDefinitions(std::wstring_view text, std::wstring_view description)
{
    Parser(text, description, m_knownVariableTypes).ParseHelperDefinitions(m_helperDefinitions);
}

ExpressionPtr Evaluator::ParseExpression(
    std::wstring_view text, std::wstring_view description, Value::Type requiredType)
{
    return Parser(text, description, m_knownVariableTypes).ParseFormula(requiredType);
}

void Evaluator::GetInputVariableTypes(ValueTypeMap& types) const
{
    for (const auto& [name, type] : m_knownVariableTypes)
        if (!m_helperDefinitions.contains(name))
            types.emplace(name, type);
}

Value::Type Evaluator::GetVariableType(std::wstring_view name) const
{
    const auto known = m_knownVariableTypes.find(name);
    return known == m_knownVariableTypes.end() ? Value::Type_Undefined : known->second;
}

bool Evaluator::UsesVariable(const Expression& expression, std::wstring_view name) const
{
    // Each helper is looked into once: the number of ways through helpers that use each other grows exponentially.
    std::set<const Expression*> seen = {&expression};
    std::vector<const Expression*> pending = {&expression};
    while (!pending.empty())
    {
        const Expression& current = *pending.back();
        pending.pop_back();
        if (current.GetUsedVariables().contains(name))
            return true;
        for (const auto& variable : current.GetUsedVariables())
        {
            const auto helper = m_helperDefinitions.find(variable->GetName());
            if (helper != m_helperDefinitions.end() && seen.insert(helper->second.get()).second)
                pending.push_back(helper->second.get());
        }
    }
    return false;
}

Value Evaluator::Evaluate(const Expression& expression, const ValueMap& values) const
{
    if (HasAllValues(expression.GetUsedVariables(), values))
        return expression.GetRoot().Evaluate(values);
    ValueMap extended = values;
    for (const auto& variable : expression.GetUsedVariables())
        AddHelperVariableValues(*variable, extended, 0);
    return expression.GetRoot().Evaluate(extended);
}

void Evaluator::AddFixedHelperValues(const Expression& expression, std::wstring_view variable, ValueMap& values) const
{
    for (const auto& used : expression.GetUsedVariables())
    {
        const auto helper = m_helperDefinitions.find(used->GetName());
        if (helper != m_helperDefinitions.end() && !UsesVariable(*helper->second, variable))
            AddHelperVariableValues(*used, values, 0);
    }
}

void Evaluator::AddHelperVariableValues(const VariableReference& variable, ValueMap& values, int recursionLevel) const
{
    const std::wstring& name = variable.GetName();
    if (values.contains(name))
        return;
    if (variable.GetValueType() == Value::Type_Undefined)
        throw std::logic_error("qexpr::Evaluator::AddHelperVariableValues: variableType == Value::Type_Undefined");
    const auto helper = m_helperDefinitions.find(name);
    if (helper == m_helperDefinitions.end())
        throw MissingVariableError(name);
    if (recursionLevel + 1 > MaxRecursionLevel)
        throw std::logic_error("qexpr::Evaluator::AddHelperVariableValues: recursionLevel > 1000");

    const Expression& definition = *helper->second;
    if (definition.GetValueType() == Value::Type_Undefined)
        throw std::logic_error("qexpr::Evaluator::AddHelperVariableValues: expressionType == Value::Type_Undefined");
    if (definition.GetValueType() != variable.GetValueType())
        throw std::logic_error("qexpr::Evaluator::AddHelperVariableValues: expressionType != variableType");
    for (const auto& used : definition.GetUsedVariables())
        AddHelperVariableValues(*used, values, recursionLevel + 1);
    values.emplace(name, definition.GetRoot().Evaluate(values));
}

} // namespace qexpr
