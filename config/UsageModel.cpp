#include "config/UsageModel.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"

#include <locale>
#include <sstream>

namespace qxm
{

namespace
{

const std::wstring processorCountName = L"ProcessorCount";

std::wstring Printed(const qexpr::Value& value)
{
    std::wostringstream text;
    text.imbue(std::locale::classic());
    value.Print(text);
    return text.str();
}

[[noreturn]] void ThrowInvalidResult(const std::wstring& sourceName, float result, const qexpr::ValueMap& inputs)
{
    std::wstring text = sourceName + L" evaluated to invalid value " + Printed(qexpr::Value(result));
    std::wstring separator = L" using input variable values ";
    for (const auto& [name, value] : inputs)
    {
        text += separator + name + L" = " + Printed(value);
        separator = L", ";
    }
    throw qpr::RuntimeError(text);
}

} // namespace

std::unique_ptr<const UsageModel> UsageModel::Build(const ServiceInfo& service)
{
    if (service.expectedProcessorUsage.empty() || service.expectedMemoryUsageInMB.empty())
        return nullptr;
    return std::unique_ptr<const UsageModel>(new UsageModel(service));
}

template <class Action>
auto UsageModel::UnderName(const std::wstring& sourceName, Action action)
{
    const auto withName = [&](const std::exception& error) { return sourceName + L": " + qpr::ErrorText(error); };
    try
    {
        return action();
    }
    catch (const qexpr::ParseError& error)
    {
        throw error.SourceFirst();
    }
    catch (const qpr::RuntimeError& error)
    {
        throw qpr::RuntimeError(withName(error));
    }
    catch (const std::logic_error& error)
    {
        throw std::logic_error(qpr::ToUtf8(withName(error)));
    }
}

UsageModel::UsageModel(const ServiceInfo& service)
{
    const std::wstring ofService = L" of service '" + service.name + L"'";
    const std::wstring& helpers = service.expectedResourceUsageHelpers;
    const std::wstring helpersName = L"ExpectedResourceUsageHelpers" + ofService;
    if (!helpers.empty())
        UnderName(helpersName, [&] { m_evaluator.AddHelperVariableDefinitions(helpers, helpersName); });
    m_processorUsage = Compile(service.expectedProcessorUsage, L"ExpectedProcessorUsage" + ofService);
    m_memoryUsage = Compile(service.expectedMemoryUsageInMB, L"ExpectedMemoryUsageInMB" + ofService);

    m_evaluator.GetInputVariableTypes(m_inputTypes);
    // A helper by that name counts too: the library's value takes the place of its definition.
    const qexpr::Value::Type processorCount = m_evaluator.GetVariableType(processorCountName);
    if (processorCount != qexpr::Value::Type_Undefined && processorCount != qexpr::Value::Type_Float)
        throw qpr::RuntimeError(L"Reference to input variable " + processorCountName + L" has incorrect type "
            + qexpr::Value::TypeToString(processorCount) + L", should be float");
}

UsageModel::Formula UsageModel::Compile(const std::wstring& text, std::wstring sourceName)
{
    const auto expression =
        UnderName(sourceName, [&] { return m_evaluator.ParseExpression(text, sourceName, qexpr::Value::Type_Float); });
    const bool usesProcessorCount = m_evaluator.UsesVariable(*expression, processorCountName);
    return {std::move(sourceName), expression, usesProcessorCount};
}

qexpr::ValueTypeMap UsageModel::NeededAttributes() const
{
    qexpr::ValueTypeMap needed;
    for (const auto& [name, type] : m_inputTypes)
    {
        const bool isUsed = m_evaluator.UsesVariable(*m_processorUsage.expression, name)
            || m_evaluator.UsesVariable(*m_memoryUsage.expression, name);
        if (isUsed && name != processorCountName)
            needed.emplace(name, type);
    }
    return needed;
}

qexpr::ValueMap UsageModel::Bind(const std::map<std::wstring, std::wstring>& attributes) const
{
    if (attributes.contains(processorCountName))
        throw qpr::RuntimeError(L"Illegal attribute " + processorCountName + L" in service request attributes");
    qexpr::ValueMap inputs;
    for (const auto& [name, type] : m_inputTypes)
    {
        const auto attribute = attributes.find(name);
        if (attribute != attributes.end())
            inputs.emplace(name, qexpr::Value::Parse(attribute->second, type, name));
    }
    return inputs;
}

float UsageModel::ProcessorUsage(qexpr::ValueMap& inputs, std::uint64_t processorCount) const
{
    if (m_processorUsage.usesProcessorCount)
        inputs[processorCountName] = qexpr::Value(static_cast<float>(processorCount));
    return Evaluate(m_processorUsage, inputs, inputs);
}

UsageModel::ProcessorChoice UsageModel::ChooseProcessors(
    qexpr::ValueMap& inputs, std::uint32_t offeredProcessors, float memoryLimitInMB) const
{
    if (!m_memoryUsage.usesProcessorCount)
        return {0, Evaluate(m_memoryUsage, inputs, inputs)};

    ProcessorChoice choice{1, 0.0f};
    qexpr::ValueMap values = inputs;
    qexpr::Value& count = values[processorCountName];
    qexpr::Value& countInMessages = inputs[processorCountName];
    for (std::uint32_t n = offeredProcessors; n >= 1; --n)
    {
        count = countInMessages = qexpr::Value(static_cast<float>(n));
        choice = {n, Evaluate(m_memoryUsage, values, inputs)};
        if (choice.memoryInMB <= memoryLimitInMB)
            break;
        if (n == offeredProcessors)
            m_evaluator.AddFixedHelperValues(*m_memoryUsage.expression, processorCountName, values);
    }
    return choice;
}

float UsageModel::Evaluate(const Formula& formula, const qexpr::ValueMap& values, const qexpr::ValueMap& inputs) const
{
    const auto result = static_cast<float>(
        UnderName(formula.sourceName, [&] { return m_evaluator.Evaluate(*formula.expression, values); }));
    if (result < 0.0f)
        ThrowInvalidResult(formula.sourceName, result, inputs);
    return result;
}

} // namespace qxm
