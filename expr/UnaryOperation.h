#pragma once

#include "expr/ASTNode.h"

namespace qexpr
{

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

} // namespace qexpr
