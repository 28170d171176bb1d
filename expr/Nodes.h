#pragma once

#include "expr/Value.h"
#include "runtime/ReferenceCounted.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>

/// The kinds of node that a formula's tree is made of.
namespace qexpr
{

class ASTNode;
using NodePtr = qpr::CountedPtr<ASTNode>;

/// A node of a formula's tree. Nodes never change once built, except that a type which the parser left undefined is
/// fixed once; so a node may have several parents. Counts are plain: nodes are built and dropped under one lock, but
/// evaluating and printing change no count, so several threads may do both at once.
///
/// All operations recurse over the tree. Whoever builds trees bounds them by Depth(), as the parser does.
class ASTNode : public qpr::ReferenceCounted
{
public:
    virtual Value::Type GetValueType() const = 0;

    /// Throws std::logic_error where the type is already defined.
    virtual void SetDefinedValueType(Value::Type type) = 0;

    /// Throws qpr::RuntimeError for a variable that has no value, std::logic_error for one of another type.
    virtual Value Evaluate(const ValueMap& values) const = 0;

    /// Writes the canonical form, in which every operator is a function call: add(float A, mul(float B, 2)).
    virtual void Print(std::wostream& stream) const = 0;

    /// The canonical form as a text.
    std::wstring ToText() const;

    /// The number of nodes on the longest way down, this one included.
    std::uint32_t Depth() const noexcept { return m_depth; }

protected:
    explicit ASTNode(std::uint32_t depthOfChildren = 0) noexcept
        : m_depth(depthOfChildren + 1)
    {
    }

private:
    std::uint32_t m_depth;
};

/// A literal.
class Constant final : public ASTNode
{
public:
    explicit Constant(Value value) noexcept
        : m_value(std::move(value))
    {
    }

    Value::Type GetValueType() const override { return m_value.GetType(); }
    void SetDefinedValueType(Value::Type type) override;
    Value Evaluate(const ValueMap&) const override { return m_value; }
    void Print(std::wostream& stream) const override { m_value.Print(stream); }

private:
    Value m_value;
};

/// All uses of one variable in a formula: they share this node, so that fixing its type fixes it for every use.
class VariableReference final : public ASTNode
{
public:
    VariableReference(std::wstring_view name, Value::Type type)
        : m_name(name)
        , m_type(type)
    {
    }

    const std::wstring& GetName() const noexcept { return m_name; }
    Value::Type GetValueType() const override { return m_type; }
    void SetDefinedValueType(Value::Type type) override;
    Value Evaluate(const ValueMap& values) const override;
    void Print(std::wostream& stream) const override;

private:
    std::wstring m_name;
    Value::Type m_type;
};

/// A conditional; only the chosen branch is evaluated.
class IfThenElse final : public ASTNode
{
public:
    /// Requires: a bool condition, branches of one type; throws std::logic_error otherwise.
    IfThenElse(NodePtr condition, NodePtr thenNode, NodePtr elseNode);

    /// The type that the "then" branch had at construction.
    Value::Type GetValueType() const override { return m_valueType; }

    /// Passes the type on to both branches, and throws when its own type is undefined: the reverse of what other nodes
    /// do.
    void SetDefinedValueType(Value::Type type) override;
    Value Evaluate(const ValueMap& values) const override;
    void Print(std::wostream& stream) const override;

private:
    NodePtr m_condition;
    NodePtr m_then;
    NodePtr m_else;
    Value::Type m_valueType;
};

/// The language's type for a C++ type, how an operation takes it from a value, and how messages spell it.
template <class T>
struct OperandType;

template <>
struct OperandType<float>
{
    static float Of(const Value& value) { return static_cast<float>(value); }

    static constexpr Value::Type Tag = Value::Type_Float;
    static constexpr const char* Spelling = "float";
    static constexpr const char* ParameterSpelling = "float";
};

template <>
struct OperandType<bool>
{
    static bool Of(const Value& value) { return static_cast<bool>(value); }

    static constexpr Value::Type Tag = Value::Type_Bool;
    static constexpr const char* Spelling = "bool";
    static constexpr const char* ParameterSpelling = "bool";
};

template <>
struct OperandType<std::wstring>
{
    static std::wstring_view Of(const Value& value) { return value.Text(); }

    static constexpr Value::Type Tag = Value::Type_String;
    static constexpr const char* Spelling =
        "class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class std::allocator<wchar_t> >";
    static constexpr const char* ParameterSpelling =
        "class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class std::allocator<wchar_t> > const &";
};

/// A function of one argument. Its one instance takes and returns a float.
template <class R, class A, class F>
class UnaryOperation final : public ASTNode
{
public:
    /// The name is a literal. Requires: the argument's type is A; throws std::logic_error otherwise.
    UnaryOperation(const wchar_t* name, F function, NodePtr arg)
        : ASTNode(arg->Depth())
        , m_name(name)
        , m_function(function)
        , m_arg(std::move(arg))
    {
        if (m_arg->GetValueType() != OperandType<A>::Tag)
            throw std::logic_error(Member("UnaryOperation: arg has incorrect value type"));
    }

    Value::Type GetValueType() const override { return OperandType<R>::Tag; }
    void SetDefinedValueType(Value::Type) override
    {
        throw std::logic_error(Member("SetDefinedValueType: value type already defined"));
    }
    Value Evaluate(const ValueMap& values) const override
    {
        return Value(m_function(OperandType<A>::Of(m_arg->Evaluate(values))));
    }
    void Print(std::wostream& stream) const override
    {
        stream << m_name << L'(';
        m_arg->Print(stream);
        stream << L')';
    }

private:
    static std::string Member(const char* text)
    {
        return std::string("qexpr::UnaryOperation<float,float,float (__cdecl*)(float)>::") + text;
    }

    const wchar_t* m_name;
    F m_function;
    NodePtr m_arg;
};

/// A function of two arguments. Argument 1 is evaluated before argument 0, and both always are: where both fail, the
/// right one's error is reported.
template <class R, class A0, class A1, class F>
class BinaryOperation final : public ASTNode
{
public:
    /// The name is a literal. Requires: the arguments' types are A0 and A1; throws std::logic_error otherwise.
    BinaryOperation(const wchar_t* name, F function, NodePtr arg0, NodePtr arg1)
        : ASTNode(std::max(arg0->Depth(), arg1->Depth()))
        , m_name(name)
        , m_function(function)
        , m_arg0(std::move(arg0))
        , m_arg1(std::move(arg1))
    {
        if (m_arg0->GetValueType() != OperandType<A0>::Tag)
            throw std::logic_error(Member("BinaryOperation: arg0 has incorrect value type"));
        if (m_arg1->GetValueType() != OperandType<A1>::Tag)
            throw std::logic_error(Member("BinaryOperation: arg1 has incorrect value type"));
    }

    Value::Type GetValueType() const override { return OperandType<R>::Tag; }
    void SetDefinedValueType(Value::Type) override
    {
        throw std::logic_error(Member("SetDefinedValueType: value type already defined"));
    }
    Value Evaluate(const ValueMap& values) const override
    {
        const Value value1 = m_arg1->Evaluate(values);
        const Value value0 = m_arg0->Evaluate(values);
        return Value(m_function(OperandType<A0>::Of(value0), OperandType<A1>::Of(value1)));
    }
    void Print(std::wostream& stream) const override
    {
        stream << m_name << L'(';
        m_arg0->Print(stream);
        stream << L", ";
        m_arg1->Print(stream);
        stream << L')';
    }

private:
    /// A member of this instance as messages name it.
    static std::string Member(const char* text)
    {
        return std::string("qexpr::BinaryOperation<") + OperandType<R>::Spelling + "," + OperandType<A0>::Spelling + ","
            + OperandType<A1>::Spelling + "," + OperandType<R>::Spelling + " (__cdecl*)("
            + OperandType<A0>::ParameterSpelling + "," + OperandType<A1>::ParameterSpelling + ")>::" + text;
    }

    const wchar_t* m_name;
    F m_function;
    NodePtr m_arg0;
    NodePtr m_arg1;
};

using FloatFunction = float (*)(float);
using FloatPairFunction = float (*)(float, float);
using FloatRelation = bool (*)(float, float);
using StringRelation = bool (*)(std::wstring_view, std::wstring_view);
using BoolPairFunction = bool (*)(bool, bool);

using FloatOperation = UnaryOperation<float, float, FloatFunction>;
using ArithmeticOperation = BinaryOperation<float, float, float, FloatPairFunction>;
using FloatComparison = BinaryOperation<bool, float, float, FloatRelation>;
using StringComparison = BinaryOperation<bool, std::wstring, std::wstring, StringRelation>;
using LogicalOperation = BinaryOperation<bool, bool, bool, BoolPairFunction>;

} // namespace qexpr
