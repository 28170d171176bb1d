// First line: helper definitions; the rest: a formula. The required type goes round with the length.

#include "expr/Evaluator.h"
#include "tests/fuzz/FuzzTarget.h"

using namespace qexpr;

namespace
{

ValueMap SomeValues(const Evaluator& evaluator)
{
    ValueTypeMap types;
    evaluator.GetInputVariableTypes(types);
    ValueMap values;
    for (const auto& [name, type] : types)
        values.emplace(name,
            type == Value::Type_Float      ? Value(2.5F)
                : type == Value::Type_Bool ? Value(true)
                                           : Value(L"text"));
    return values;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring text = fuzz::Text(data, size);
    const std::size_t lineEnd = text.find(L'\n');
    const std::wstring helpers = lineEnd == std::wstring::npos ? L"" : text.substr(0, lineEnd);
    const std::wstring formula = lineEnd == std::wstring::npos ? text : text.substr(lineEnd + 1);
    const auto requiredType = static_cast<Value::Type>(size % 4);

    Evaluator evaluator;
    fuzz::Succeeds([&] { evaluator.AddHelperVariableDefinitions(helpers, L"helpers"); });
    ExpressionPtr expression;
    if (!fuzz::Succeeds([&] { expression = evaluator.ParseExpression(formula, L"formula", requiredType); }))
        return 0;
    const Value::Type type = expression->GetValueType();
    fuzz::Require(type != Value::Type_Undefined, "a parsed formula has a type");
    fuzz::Require(
        requiredType == Value::Type_Undefined || type == requiredType, "a parsed formula has the required type");
    fuzz::Require(!expression->ToText().empty(), "a parsed formula has a canonical form");
    for (const auto& variable : expression->GetUsedVariables())
        fuzz::Require(evaluator.UsesVariable(*expression, variable->GetName()), "a formula uses its variables");

    const ValueMap values = SomeValues(evaluator);
    Value value;
    if (fuzz::Succeeds([&] { value = evaluator.Evaluate(*expression, values); }))
        fuzz::Require(value.GetType() == type, "a formula's value is of its type");
    fuzz::Succeeds([&] { evaluator.Evaluate(*expression, {}); });
    return 0;
}
