#pragma once

#include "expr/ASTNode.h"

namespace qexpr
{

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
    Value Evaluate(const ValueMap& values) const override;
    NodePtr Specialise(const ValueMap& values) const override;
    bool IsConstant() const noexcept override { return true; }
    void Print(std::wostream& stream) const override;

private:
    Value m_value;
};

} // namespace qexpr
