#include "tools/qx/Commands.h"

#include "expr/Evaluator.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Explanation.h"
#include "tools/qx/Json.h"
#include "tools/qx/Program.h"
#include "tools/qx/Table.h"
#include "tools/qx/TextArgument.h"

#include <iostream>
#include <locale>
#include <memory>
#include <optional>
#include <sstream>

namespace
{

using qexpr::Value;

struct ExprOptions
{
    std::string formula;
    std::string type = "undefined";
    std::string helpers;
    std::vector<std::string> values;
    bool json = false;
};

/// A formula and what is to be told of it.
struct FormulaReport
{
    std::wstring canonical;
    Value::Type type = Value::Type_Undefined;
    qexpr::ValueTypeMap variables;
    std::optional<Value> value; // of a formula that was evaluated
};

std::vector<std::wstring> VariableNames(const qexpr::Evaluator& evaluator)
{
    qexpr::ValueTypeMap variables;
    evaluator.GetInputVariableTypes(variables);
    std::vector<std::wstring> names;
    for (const auto& [name, type] : variables)
        names.push_back(name);
    return names;
}

qexpr::ValueMap ParseValues(const qexpr::Evaluator& evaluator, const std::vector<std::string>& arguments)
{
    qexpr::ValueMap values;
    for (const auto& [name, text] : qx::ParseKeyValues(arguments))
    {
        const Value::Type type = evaluator.GetVariableType(name);
        if (type == Value::Type_Undefined)
            throw qx::WrongCommandLine("nothing uses the name '" + qpr::ToUtf8(name) + "'"
                + qx::NearestNameHint(name, VariableNames(evaluator)));
        values.emplace(name, Value::Parse(text, type, name));
    }
    return values;
}

bool UsesAny(
    const qexpr::Evaluator& evaluator, const qexpr::Expression& expression, const qexpr::ValueTypeMap& variables)
{
    for (const auto& [name, type] : variables)
        if (evaluator.UsesVariable(expression, name))
            return true;
    return false;
}

FormulaReport Examine(const ExprOptions& options)
{
    qexpr::Evaluator evaluator;
    evaluator.AddHelperVariableDefinitions(qpr::FromUtf8(options.helpers), L"helpers");
    const qexpr::ExpressionPtr expression = evaluator.ParseExpression(
        qpr::FromUtf8(options.formula), L"formula", Value::StringToType(qpr::FromUtf8(options.type)));

    FormulaReport report{expression->ToText(), expression->GetValueType(), {}, {}};
    evaluator.GetInputVariableTypes(report.variables);
    const qexpr::ValueMap values = ParseValues(evaluator, options.values);
    if (!values.empty() || !UsesAny(evaluator, *expression, report.variables))
        report.value = evaluator.Evaluate(*expression, values);
    return report;
}

qx::Json ToJson(const Value& value)
{
    switch (value.GetType())
    {
    case Value::Type_Float:
        return qx::ToJson(static_cast<float>(value));
    case Value::Type_Bool:
        return static_cast<bool>(value);
    default:
        return qx::ToJson(static_cast<std::wstring>(value));
    }
}

void PrintJson(const FormulaReport& report)
{
    qx::Json variables = qx::Json::object();
    for (const auto& [name, type] : report.variables)
        variables[qpr::ToUtf8(name)] = qx::ToJson(std::wstring_view(Value::TypeToString(type)));
    qx::Json document = {
        {"canonical", qx::ToJson(report.canonical)},
        {"type", qx::ToJson(std::wstring_view(Value::TypeToString(report.type)))},
        {"variables", variables},
    };
    if (report.value)
        document["value"] = ToJson(*report.value);
    qx::Print(document);
}

std::string Shown(std::wstring_view text)
{
    return qx::Printable(qpr::ToUtf8(text));
}

std::string Shown(const Value& value)
{
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    value.Print(stream);
    return Shown(stream.str());
}

void PrintText(const FormulaReport& report)
{
    std::cout << "read as   " << Shown(report.canonical) << '\n'
              << "type      " << Shown(Value::TypeToString(report.type)) << '\n';
    for (const auto& [name, type] : report.variables)
        std::cout << "variable  " << Shown(Value::TypeToString(type)) << ' ' << Shown(name) << '\n';
    if (report.value)
        std::cout << "value     " << Shown(*report.value) << '\n';
}

int TryFormula(const ExprOptions& options)
{
    const FormulaReport report = Examine(options);
    options.json ? PrintJson(report) : PrintText(report);
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddExprCommand(Program& program)
{
    const auto options = std::make_shared<ExprOptions>();
    CLI::App& command = program.AddCommand("expr", "Reads a formula and evaluates it with the values given",
        "qx expr 'Size * 0.5 + (if Fast then 200 else 100)' Size=10 Fast=true",
        [options] { return TryFormula(*options); });
    command
        .add_option("FORMULA", options->formula, "The formula; put -- before one that looks like an option, such as -X")
        ->required()
        ->type_name("");
    command.add_option("NAME=VALUE", options->values, "Values of the formula's variables")->type_name("");
    command.add_option("--type", options->type, "The type that the formula must have")
        ->check(CLI::IsMember({"float", "string", "bool"}));
    command.add_option("--helpers", options->helpers, "Helper definitions 'Name = formula;' that the formula may use");
    command.add_flag("--json", options->json, "Print one JSON document");
}
