#include "expr/Operations.h"

#include "expr/Constant.h"

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

namespace
{

/// The instance and its member as diagnostic texts name them.
template <class R, class A0, class A1>
std::string MemberText(const char* member)
{
    using std::string;
    return string("qexpr::BinaryOperation<") + OperandType<R>::Spelling + "," + OperandType<A0>::Spelling + ","
        + OperandType<A1>::Spelling + "," + OperandType<R>::Spelling + " (__cdecl*)("
        + OperandType<A0>::ParameterSpelling + "," + OperandType<A1>::ParameterSpelling + ")>::" + member;
}

} // namespace

template <class R, class A0, class A1, class F>
BinaryOperation<R, A0, A1, F>::BinaryOperation(const wchar_t* name, F function, NodePtr arg0, NodePtr arg1)
    : ASTNode(std::max(arg0->Depth(), arg1->Depth()))
    , m_name(name)
    , m_function(function)
    , m_arg0(std::move(arg0))
    , m_arg1(std::move(arg1))
{
    if (m_arg0->GetValueType() != OperandType<A0>::Tag)
        throw std::logic_error(MemberText<R, A0, A1>("BinaryOperation: arg0 has incorrect value type"));
    if (m_arg1->GetValueType() != OperandType<A1>::Tag)
        throw std::logic_error(MemberText<R, A0, A1>("BinaryOperation: arg1 has incorrect value type"));
}

template <class R, class A0, class A1, class F>
Value::Type BinaryOperation<R, A0, A1, F>::GetValueType() const
{
    return OperandType<R>::Tag;
}

template <class R, class A0, class A1, class F>
void BinaryOperation<R, A0, A1, F>::SetDefinedValueType(Value::Type)
{
    throw std::logic_error(MemberText<R, A0, A1>("SetDefinedValueType: value type already defined"));
}

template <class R, class A0, class A1, class F>
Value BinaryOperation<R, A0, A1, F>::Evaluate(const ValueMap& values) const
{
    const Value value1 = m_arg1->Evaluate(values);
    const Value value0 = m_arg0->Evaluate(values);
    return Value(m_function(static_cast<A0>(value0), static_cast<A1>(value1)));
}

template <class R, class A0, class A1, class F>
NodePtr BinaryOperation<R, A0, A1, F>::Specialise(const ValueMap& values) const
{
    const NodePtr arg1 = m_arg1->Specialise(values);
    const NodePtr arg0 = m_arg0->Specialise(values);
    NodePtr operation = new BinaryOperation(m_name, m_function, arg0, arg1);
    return arg0->IsConstant() && arg1->IsConstant() ? NodePtr(new Constant(operation->Evaluate({}))) : operation;
}

template <class R, class A0, class A1, class F>
void BinaryOperation<R, A0, A1, F>::Print(std::wostream& stream) const
{
    stream << m_name << L'(';
    m_arg0->Print(stream);
    stream << L", ";
    m_arg1->Print(stream);
    stream << L')';
}

template class BinaryOperation<float, float, float, FloatPairFunction>;
template class BinaryOperation<bool, float, float, FloatRelation>;
template class BinaryOperation<bool, std::wstring, std::wstring, StringRelation>;
template class BinaryOperation<bool, bool, bool, BoolPairFunction>;

} // namespace qexpr
