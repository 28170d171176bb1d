#pragma once

#include "expr/Nodes.h"

#include <set>
#include <string>
#include <string_view>

namespace qexpr
{

/// Orders a formula's variables by name and lets them be looked up by name.
struct VariableNameOrder
{
    using is_transparent = void;
    using VariablePtr = qpr::CountedPtr<VariableReference>;

    bool operator()(const VariablePtr& a, const VariablePtr& b) const
    {
        return NameOrder()(a->GetName(), b->GetName());
    }
    bool operator()(const VariablePtr& a, std::wstring_view b) const { return NameOrder()(a->GetName(), b); }
    bool operator()(std::wstring_view a, const VariablePtr& b) const { return NameOrder()(a, b->GetName()); }
};

/// The variables that a formula uses, one node per name, in name order.
using UsedVariables = std::set<qpr::CountedPtr<VariableReference>, VariableNameOrder>;

class Expression;
using ExpressionPtr = qpr::CountedPtr<Expression>;

/// A parsed formula, immutable. It stays valid without the evaluator that parsed it, but is evaluated through it.
class Expression final : public qpr::ReferenceCounted
{
public:
    Expression(NodePtr root, UsedVariables usedVariables) noexcept
        : m_root(std::move(root))
        , m_usedVariables(std::move(usedVariables))
    {
    }

    const ASTNode& GetRoot() const noexcept { return *m_root; }
    Value::Type GetValueType() const { return m_root->GetValueType(); }
    const UsedVariables& GetUsedVariables() const noexcept { return m_usedVariables; }

    /// The canonical form of the formula, which tells how it was read: add(float A, mul(float B, 2)).
    std::wstring ToText() const { return m_root->ToText(); }

private:
    NodePtr m_root;
    UsedVariables m_usedVariables;
};

} // namespace qexpr
