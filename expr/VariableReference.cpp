#include "expr/VariableReference.h"

#include "expr/Constant.h"
#include "runtime/Errors.h"

#include <ostream>
#include <stdexcept>

namespace qexpr
{

void VariableReference::SetDefinedValueType(Value::Type type)
{
    if (m_type != Value::Type_Undefined)
        throw std::logic_error("qexpr::VariableReference::SetDefinedValueType: value type already defined");
    m_type = type;
}

Value VariableReference::Evaluate(const ValueMap& values) const
{
    const auto found = values.find(m_name);
    if (found == values.end())
        throw qpr::RuntimeError(L"Variable '" + m_name + L"' not set");
    return found->second;
}

NodePtr VariableReference::Specialise(const ValueMap& values) const
{
    const auto found = values.find(m_name);
    if (found == values.end())
        return new VariableReference(m_name, m_type);
    return new Constant(found->second);
}

void VariableReference::Print(std::wostream& stream) const
{
    stream << Value::TypeToString(m_type) << L' ' << m_name;
}

} // namespace qexpr
