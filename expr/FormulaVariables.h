#pragma once

#include "expr/Expression.h"
#include "expr/Lexer.h"
#include "expr/Value.h"

namespace qexpr
{

/// The variables of the formula being parsed and what is known of their types.
class FormulaVariables
{
public:
    /// All outlive this. The known types are shared by all formulas of an evaluator. The defined name is the helper's
    /// whose formula this is, which the formula must not use; empty when it is no helper's.
    FormulaVariables(const Lexer& lexer, ValueTypeMap& knownTypes, std::wstring_view definedName)
        : m_lexer(lexer)
        , m_knownTypes(knownTypes)
        , m_definedName(definedName)
    {
    }

    /// The node of the variable that the current token names, used as a value of the type (undefined: of any). A
    /// variable that has a type already cannot be used at a place that asks for one, unless it is known and this is its
    /// first use. Throws ParseError.
    NodePtr Use(Value::Type type);

    /// To call once the whole formula is parsed: its variables become known. Throws qpr::RuntimeError for one whose
    /// type is open, and then none becomes known. Root is the formula, for the message.
    void MakeKnown(const ASTNode& root);

    UsedVariables Take() { return std::move(m_used); }

private:
    void FixType(VariableReference& variable, Value::Type type) const;
    Value::Type TypeOfNewVariable(Value::Type type) const;
    void PostProcess(VariableReference& variable, const ASTNode& root) const;

    const Lexer& m_lexer;
    ValueTypeMap& m_knownTypes;
    std::wstring_view m_definedName;
    UsedVariables m_used;
};

} // namespace qexpr
