#include "tools/qx/ProblemList.h"

#include "config/ServantsReader.h"
#include "config/UsageModel.h"

namespace qx
{

namespace
{

using qxm::ConfigurationFile;
using qxm::XmlElement;

constexpr wchar_t requirementsName[] = L"HostRequirements";
constexpr wchar_t helpersName[] = L"ExpectedResourceUsageHelpers";
constexpr wchar_t processorsName[] = L"ExpectedProcessorUsage";
constexpr wchar_t memoryName[] = L"ExpectedMemoryUsageInMB";
constexpr const wchar_t* formulaNames[] = {helpersName, processorsName, memoryName};

/// Stands in for a formula that is missing or wrong, so that the others are compiled all the same.
constexpr wchar_t substitute[] = L"0";

/// Reports an error of the service's formulas, whose text begins with the formula's name. Returns the formula's
/// element; null for another error.
const XmlElement* ReportFormula(
    const ConfigurationFile& file, const XmlElement& service, const std::exception& error, ProblemList& list)
{
    const std::wstring text = qpr::ErrorText(error);
    for (const wchar_t* name : formulaNames)
    {
        const XmlElement* const formula = service.FirstChild(name);
        if (!formula || !text.starts_with(std::wstring(name) + L" of service"))
            continue;
        if (const auto* const parseError = dynamic_cast<const qexpr::ParseError*>(&error))
            list.Error(file, formula->PositionInText(parseError->GetIndex()), parseError->GetReason() + L" in " + name);
        else
            list.Error(file, formula->PositionInText(0), text);
        return formula;
    }
    list.Error(file, service.position, text);
    return nullptr;
}

/// Fills in a formula that is missing; without it the others have no effect. False when it is missing.
bool Complete(std::wstring& formula, const wchar_t* formulaName, const ConfigurationFile& file,
    const XmlElement& service, ProblemList& list)
{
    if (!formula.empty())
        return true;
    formula = substitute;
    for (const wchar_t* name : formulaNames)
    {
        const XmlElement* const other = service.FirstChild(name);
        if (other && !other->text.empty())
            list.Warning(file, other->position,
                L"<" + other->name + L"> has no effect without <" + std::wstring(formulaName) + L">");
    }
    return false;
}

} // namespace

std::wstring CheckRequirements(const ConfigurationFile& file, const XmlElement& element, const std::wstring& whose,
    const qxm::HostDescription& host, ProblemList& list)
{
    const XmlElement* const requirements = element.FirstChild(requirementsName);
    const std::wstring name = requirementsName + (L" " + whose);
    try
    {
        return EvaluateHostRequirements(element, host) ? std::wstring() : name + L" are not met";
    }
    catch (const qexpr::ParseError& error)
    {
        list.Error(file, requirements->PositionInText(error.GetIndex()), error.GetReason() + L" in HostRequirements");
    }
    catch (const qexpr::MissingVariableError& error)
    {
        list.Error(file, requirements->PositionInText(0),
            L"unknown variable '" + error.GetName() + L"' in HostRequirements"
                + Suggestion(error.GetName(), {L"HostName", L"CpuInfo", L"ProcessorCount", L"PhysicalMemorySizeInMB"}));
    }
    catch (const std::exception& error)
    {
        list.Error(file, requirements->PositionInText(0), qpr::ErrorText(error) + L" in HostRequirements");
    }
    return name + L" cannot be evaluated";
}

void CheckFormulas(const ConfigurationFile& file, const XmlElement& element, const qxm::LocalServiceInfo& service,
    const qxm::LocalLimits& limits, ProblemList& list)
{
    const auto checked = qpr::MakeCounted<qxm::LocalServiceInfo>(service.servant);
    checked->name = service.name;
    checked->expectedProcessorUsage = service.expectedProcessorUsage;
    checked->expectedMemoryUsageInMB = service.expectedMemoryUsageInMB;
    checked->expectedResourceUsageHelpers = service.expectedResourceUsageHelpers;
    bool isComplete = Complete(checked->expectedProcessorUsage, processorsName, file, element, list);
    isComplete &= Complete(checked->expectedMemoryUsageInMB, memoryName, file, element, list);
    const XmlElement* wrong = nullptr;
    do // each round compiles one formula further: the one that fails is reported and replaced
    {
        try
        {
            wrong = nullptr;
            const auto model = qxm::UsageModel::Build(*checked);
            for (const auto& [name, type] : model->NeededAttributes())
            {
                const std::wstring suggestion = Suggestion(name, {L"ProcessorCount"});
                if (!suggestion.empty())
                    list.Warning(file, element.position,
                        L"attribute '" + name + L"' of service '" + service.name + L"'" + suggestion);
            }
            if (isComplete && model->NeededAttributes().empty())
                qxm::ComputeExpectedUsage(*checked, {}, limits, 1);
        }
        catch (const std::exception& error)
        {
            wrong = ReportFormula(file, element, error, list);
            isComplete = false;
        }
        if (wrong && wrong->name == processorsName)
            checked->expectedProcessorUsage = substitute;
        else if (wrong && wrong->name == memoryName)
            checked->expectedMemoryUsageInMB = substitute;
    } while (wrong && wrong->name != helpersName);
}

} // namespace qx
