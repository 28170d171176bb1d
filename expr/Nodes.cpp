#include "expr/Nodes.h"

#include "runtime/text/Errors.h"

#include <locale>
#include <sstream>

namespace qexpr
{

std::wstring ASTNode::ToText() const
{
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    Print(stream);
    return stream.str();
}

void Constant::SetDefinedValueType(Value::Type)
{
    throw std::logic_error("qexpr::Constant::SetDefinedValueType: value type already defined");
}

void VariableReference::SetDefinedValueType(Value::Type type)
{
    if (m_type != Value::Type_Undefined)
        throw std::logic_error("qexpr::VariableReference::SetDefinedValueType: value type already defined");
    m_type = type;
}

Value VariableReference::Evaluate(const ValueMap& values) const
{
    const auto value = values.find(m_name);
    if (value == values.end())
        throw qpr::RuntimeError(L"Variable '" + m_name + L"' not set");
    return value->second;
}

void VariableReference::Print(std::wostream& stream) const
{
    stream << Value::TypeToString(m_type) << L' ' << m_name;
}

IfThenElse::IfThenElse(NodePtr condition, NodePtr thenNode, NodePtr elseNode)
    : ASTNode(std::max({condition->Depth(), thenNode->Depth(), elseNode->Depth()}))
    , m_condition(std::move(condition))
    , m_then(std::move(thenNode))
    , m_else(std::move(elseNode))
    , m_valueType(m_then->GetValueType())
{
    if (m_condition->GetValueType() != Value::Type_Bool)
        throw std::logic_error("qexpr::IfThenElse::IfThenElse: value type of if clause is not bool");
    if (m_else->GetValueType() != m_valueType)
        throw std::logic_error("qexpr::IfThenElse::IfThenElse: if and then clauses have different value types");
}

void IfThenElse::SetDefinedValueType(Value::Type type)
{
    if (m_valueType == Value::Type_Undefined)
        throw std::logic_error("qexpr::IfThenElse::SetDefinedValueType: value type already defined");
    m_then->SetDefinedValueType(type);
    m_else->SetDefinedValueType(type);
}

Value IfThenElse::Evaluate(const ValueMap& values) const
{
    return static_cast<bool>(m_condition->Evaluate(values)) ? m_then->Evaluate(values) : m_else->Evaluate(values);
}

void IfThenElse::Print(std::wostream& stream) const
{
    stream << L"if_then_else(";
    m_condition->Print(stream);
    stream << L", ";
    m_then->Print(stream);
    stream << L", ";
    m_else->Print(stream);
    stream << L')';
}

} // namespace qexpr
