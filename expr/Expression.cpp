#include "expr/Expression.h"

namespace qexpr
{

ExpressionPtr Expression::Specialise(const ValueMap& values) const
{
    UsedVariables used;
    for (const auto& variable : m_usedVariables)
        if (!values.contains(variable->GetName()))
            used.insert(qpr::MakeCounted<VariableReference>(variable->GetName(), variable->GetValueType()));
    return new Expression(m_root->Specialise(values), std::move(used));
}

} // namespace qexpr
