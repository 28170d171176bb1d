#pragma once

#include "expr/ASTNode.h"

#include <string>
#include <string_view>

namespace qexpr
{

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
    NodePtr Specialise(const ValueMap& values) const override;
    void Print(std::wostream& stream) const override;

private:
    std::wstring m_name;
    Value::Type m_type;
};

} // namespace qexpr
