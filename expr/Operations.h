#pragma once

#include "expr/ASTNode.h"
#include "expr/Value.h"

#include <string>

namespace qexpr
{

/// The language's type for a C++ type, and how diagnostic texts spell that type.
template <class T>
struct OperandType;

template <>
struct OperandType<float>
{
    static constexpr Value::Type Tag = Value::Type_Float;
    static constexpr const char* Spelling = "float";
    static constexpr const char* ParameterSpelling = "float";
};

template <>
struct OperandType<bool>
{
    static constexpr Value::Type Tag = Value::Type_Bool;
    static constexpr const char* Spelling = "bool";
    static constexpr const char* ParameterSpelling = "bool";
};

template <>
struct OperandType<std::wstring>
{
    static constexpr Value::Type Tag = Value::Type_String;
    static constexpr const char* Spelling =
        "class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class std::allocator<wchar_t> >";
    static constexpr const char* ParameterSpelling =
        "class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class std::allocator<wchar_t> > const &";
};

/// A function of one argument. Its one instance takes and gives a float.
template <class R, class A, class F>
class UnaryOperation final : public ASTNode
{
public:
    /// name is a literal. Requires: the argument's type is A; throws std::logic_error otherwise.
    UnaryOperation(const wchar_t* name, F function, NodePtr arg);

    Value::Type GetValueType() const override;
    void SetDefinedValueType(Value::Type type) override;
    Value Evaluate(const ValueMap& values) const override;
    NodePtr Specialise(const ValueMap& values) const override;
    void Print(std::wostream& stream) const override;

private:
    const wchar_t* m_name;
    F m_function;
    NodePtr m_arg;
};

using FloatFunction = float (*)(float);
using FloatOperation = UnaryOperation<float, float, FloatFunction>;

extern template class UnaryOperation<float, float, FloatFunction>;

/// A function of two arguments. Argument 1 is evaluated before argument 0, and both always are: where both fail, the
/// right one's error is reported.
template <class R, class A0, class A1, class F>
class BinaryOperation final : public ASTNode
{
public:
    /// name is a literal. Requires: the arguments' types are A0 and A1; throws std::logic_error otherwise.
    BinaryOperation(const wchar_t* name, F function, NodePtr arg0, NodePtr arg1);

    Value::Type GetValueType() const override;
    void SetDefinedValueType(Value::Type type) override;
    Value Evaluate(const ValueMap& values) const override;
    NodePtr Specialise(const ValueMap& values) const override;
    void Print(std::wostream& stream) const override;

private:
    const wchar_t* m_name;
    F m_function;
    NodePtr m_arg0;
    NodePtr m_arg1;
};

using FloatPairFunction = float (*)(float, float);
using FloatRelation = bool (*)(float, float);
using StringRelation = bool (*)(const std::wstring&, const std::wstring&);
using BoolPairFunction = bool (*)(bool, bool);

using ArithmeticOperation = BinaryOperation<float, float, float, FloatPairFunction>;
using FloatComparison = BinaryOperation<bool, float, float, FloatRelation>;
using StringComparison = BinaryOperation<bool, std::wstring, std::wstring, StringRelation>;
using LogicalOperation = BinaryOperation<bool, bool, bool, BoolPairFunction>;

extern template class BinaryOperation<float, float, float, FloatPairFunction>;
extern template class BinaryOperation<bool, float, float, FloatRelation>;
extern template class BinaryOperation<bool, std::wstring, std::wstring, StringRelation>;
extern template class BinaryOperation<bool, bool, bool, BoolPairFunction>;

} // namespace qexpr
