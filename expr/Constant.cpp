#include "expr/Constant.h"

#include <stdexcept>

namespace qexpr
{

void Constant::SetDefinedValueType(Value::Type)
{
    throw std::logic_error("qexpr::Constant::SetDefinedValueType: value type already defined");
}

Value Constant::Evaluate(const ValueMap&) const
{
    return m_value;
}

NodePtr Constant::Specialise(const ValueMap&) const
{
    return new Constant(m_value);
}

void Constant::Print(std::wostream& stream) const
{
    m_value.Print(stream);
}

} // namespace qexpr
