#pragma once

#include "expr/Expression.h"
#include "expr/Parser.h"
#include "expr/Value.h"
#include "runtime/text/Errors.h"

#include <string>
#include <string_view>

namespace qexpr
{

/// A formula needs the value of a variable that is neither given nor defined by a helper: "Missing definition for
/// helper variable '<name>'".
class MissingVariableError : public qpr::RuntimeError
{
public:
    explicit MissingVariableError(std::wstring name)
        : qpr::RuntimeError(L"Missing definition for helper variable '" + name + L"'")
        , m_name(std::move(name))
    {
    }

    const std::wstring& GetName() const noexcept { return m_name; }

private:
    std::wstring m_name;
};

/// The expression language as the rest of the system uses it: helper definitions and formulas that see each other's
/// variable types, and their evaluation. Helper variables are computed on demand, once per evaluation.
///
/// Order of calls: helper definitions once, then formulas, then any number of evaluations. No lock inside: parsing
/// changes the evaluator and is the business of one thread; the const operations change nothing, reference counts
/// included, so that several threads may evaluate at once as long as nobody parses, copies or drops an Expression
/// meanwhile.
class Evaluator
{
public:
    /// Definitions "Name = formula;". The description names the text's origin in errors. Throws ParseError.
    void AddHelperVariableDefinitions(std::wstring_view text, std::wstring_view description);

    /// Type_Undefined as the required type takes a formula of any type. Throws ParseError, and std::logic_error for
    /// typing that the language does not resolve (an operator on a conditional of untyped variables).
    ExpressionPtr ParseExpression(std::wstring_view text, std::wstring_view description, Value::Type requiredType);

    /// Adds every variable that a formula or definition so far refers to and no definition gives a value.
    void GetInputVariableTypes(ValueTypeMap& types) const;

    /// The type of an input or helper; undefined when nothing refers to the name.
    Value::Type GetVariableType(std::wstring_view name) const;

    /// Whether the expression refers to the name, itself or through helpers.
    bool UsesVariable(const Expression& expression, std::wstring_view name) const;

    /// A value given for a helper's name takes the place of its definition. All variables of a formula need a value,
    /// those of a branch not taken too: throws MissingVariableError. The values are copied only when a helper is to be
    /// computed. Helpers through more than 1000 helpers are a std::logic_error.
    Value Evaluate(const Expression& expression, const ValueMap& values) const;

    /// For many evaluations of one expression that differ in the value of one variable only: adds the values of the
    /// helpers that the expression names and that do not depend on that variable. Throws what Evaluate throws.
    void AddFixedHelperValues(const Expression& expression, std::wstring_view variable, ValueMap& values) const;

private:
    void AddHelperVariableValues(const VariableReference& variable, ValueMap& values, int recursionLevel) const;

    HelperDefinitions m_helperDefinitions;
    ValueTypeMap m_knownVariableTypes;
};

} // namespace qexpr
