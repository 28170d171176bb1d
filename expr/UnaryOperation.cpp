#include "expr/UnaryOperation.h"

#include "expr/Constant.h"
#include "expr/OperandType.h"

#include <ostream>
#include <stdexcept>

namespace qexpr
{

template <class R, class A, class F>
UnaryOperation<R, A, F>::UnaryOperation(const wchar_t* name, F function, NodePtr arg)
    : ASTNode(arg->Depth())
    , m_name(name)
    , m_function(function)
    , m_arg(std::move(arg))
{
    if (m_arg->GetValueType() != OperandType<A>::Tag)
        throw std::logic_error(
            "qexpr::UnaryOperation<float,float,float (__cdecl*)(float)>::UnaryOperation: arg has incorrect "
            "value type");
}

template <class R, class A, class F>
Value::Type UnaryOperation<R, A, F>::GetValueType() const
{
    return OperandType<R>::Tag;
}

template <class R, class A, class F>
void UnaryOperation<R, A, F>::SetDefinedValueType(Value::Type)
{
    throw std::logic_error(
        "qexpr::UnaryOperation<float,float,float (__cdecl*)(float)>::SetDefinedValueType: value type already "
        "defined");
}

template <class R, class A, class F>
Value UnaryOperation<R, A, F>::Evaluate(const ValueMap& values) const
{
    return Value(m_function(static_cast<A>(m_arg->Evaluate(values))));
}

template <class R, class A, class F>
NodePtr UnaryOperation<R, A, F>::Specialise(const ValueMap& values) const
{
    const NodePtr arg = m_arg->Specialise(values);
    NodePtr operation = new UnaryOperation(m_name, m_function, arg);
    return arg->IsConstant() ? NodePtr(new Constant(operation->Evaluate({}))) : operation;
}

template <class R, class A, class F>
void UnaryOperation<R, A, F>::Print(std::wostream& stream) const
{
    stream << m_name << L'(';
    m_arg->Print(stream);
    stream << L')';
}

template class UnaryOperation<float, float, FloatFunction>;

} // namespace qexpr
