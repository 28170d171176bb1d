#pragma once

#include "expr/ASTNode.h"

namespace qexpr
{

/// A conditional; only the chosen branch is evaluated.
class IfThenElse final : public ASTNode
{
public:
    /// Requires: a bool condition, branches of one type; throws std::logic_error otherwise.
    IfThenElse(NodePtr condition, NodePtr thenNode, NodePtr elseNode);

    /// The type that the "then" branch had at construction.
    Value::Type GetValueType() const override { return m_valueType; }

    /// Passes the type on to both branches, and throws when the own type is undefined: the reverse of what other nodes
    /// do.
    void SetDefinedValueType(Value::Type type) override;
    Value Evaluate(const ValueMap& values) const override;
    NodePtr Specialise(const ValueMap& values) const override;
    void Print(std::wostream& stream) const override;

private:
    NodePtr m_condition;
    NodePtr m_then;
    NodePtr m_else;
    Value::Type m_valueType;
};

} // namespace qexpr
