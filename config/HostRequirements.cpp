#include "config/HostRequirements.h"

#include "expr/Evaluator.h"

#include <exception>

namespace qxm
{

namespace
{

qexpr::ValueMap HostVariables(const HostDescription& host)
{
    return {
        {L"HostName", qexpr::Value(host.hostName)},
        {L"CpuInfo", qexpr::Value(host.cpuInfo)},
        {L"ProcessorCount", qexpr::Value(static_cast<float>(host.cpuCount))},
        {L"PhysicalMemorySizeInMB", qexpr::Value(static_cast<float>(host.memorySizeInMB))},
    };
}

} // namespace

bool EvaluateHostRequirements(const XmlElement& element, const HostDescription& host)
{
    const std::wstring formula = element.ChildText(L"HostRequirements");
    if (formula.empty())
        return true;
    qexpr::Evaluator evaluator;
    const auto expression = evaluator.ParseExpression(formula,
        L"HostRequirements of " + element.name + L" '" + element.AttributeValue(L"Name") + L"'",
        qexpr::Value::Type_Bool);
    return static_cast<bool>(evaluator.Evaluate(*expression, HostVariables(host)));
}

bool MeetsHostRequirements(const XmlElement& element, const HostDescription& host)
{
    try
    {
        return EvaluateHostRequirements(element, host);
    }
    catch (const std::exception&)
    {
        return false;
    }
}

} // namespace qxm
