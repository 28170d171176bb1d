#include "expr/VariableReference.h"

#include "expr/Constant.h"
#include "runtime/text/Errors.h"

#include <ostream>
#include <stdexcept>

namespace qexpr
{

namespace
{

/// A formula has few inputs: walking over them compares the name once, where a search compares it twice.
const Value* FindValue(const ValueMap& values, const std::wstring& name)
{
    constexpr std::size_t few = 8;
    if (values.size() > few)
    {
        const auto found = values.find(name);
        return found == values.end() ? nullptr : &found->second;
    }
    for (const auto& [key, value] : values)
    {
        if (CompareNames(key, name) == 0)
            return &value;
    }
    return nullptr;
}

} // namespace

void VariableReference::SetDefinedValueType(Value::Type type)
{
    if (m_type != Value::Type_Undefined)
        throw std::logic_error("qexpr::VariableReference::SetDefinedValueType: value type already defined");
    m_type = type;
}

Value VariableReference::Evaluate(const ValueMap& values) const
{
    const Value* const value = FindValue(values, m_name);
    if (!value)
        throw qpr::RuntimeError(L"Variable '" + m_name + L"' not set");
    return *value;
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
