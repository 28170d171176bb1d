#include "config/ConnectorSettings.h"

#include "config/XmlDocument.h"
#include "runtime/Errors.h"
#include "runtime/TextValues.h"

#include <sstream>

namespace qxm
{

namespace
{

using Attribute = XmlElement::Attribute;

constexpr ConnectorKind allKinds[] = {ConnectorKind::Local, ConnectorKind::Network, ConnectorKind::Hybrid};

ConnectorKind ParseKind(const std::wstring& name)
{
    for (const ConnectorKind kind : allKinds)
    {
        if (name == ConnectorName(kind))
            return kind;
    }
    throw qpr::RuntimeError(L"Invalid service connector name '" + name + L"'");
}

void Require(bool isInRange, const std::wstring& attributeName, const wchar_t* range)
{
    if (!isInRange)
        throw qpr::RuntimeError(L"Invalid " + attributeName + L" value (must be " + range + L")");
}

float ParseUtilizationLimit(const Attribute& attribute)
{
    const auto& [name, value] = attribute;
    const float limit = qpr::ParsePercentage(value, name);
    Require(limit >= 0.0f && limit <= 5.0f, name, L"between 0% and 500%");
    return limit;
}

/// The Take functions answer whether the attribute is one of theirs.
bool Take(const Attribute& attribute, ServiceConnectorSettings& settings)
{
    const auto& [name, value] = attribute;
    if (name == L"QxConfigurationPath")
    {
        settings.configurationPath = value;
    }
    else if (name == L"MaxRunningCalls")
    {
        const std::uint64_t maxRunningCalls = qpr::ParseUInt64(value, name);
        Require(maxRunningCalls > 0, name, L"larger than 0");
        settings.maxRunningCalls = maxRunningCalls;
    }
    else if (name == L"LogServiceExecutionInfo")
    {
        settings.logServiceExecutionInfo = qpr::ParseBool(value, name);
    }
    else
    {
        return false;
    }
    return true;
}

bool Take(const Attribute& attribute, LocalExecutionSettings& settings)
{
    const auto& [name, value] = attribute;
    // The longer name is an alias of the shorter; the later of the two counts.
    if (name == L"MaxLocalServantsWithUnknownResourceUsage" || name == L"MaxLocalServants")
    {
        settings.maxLocalServants = qpr::ParseUInt32(value, name);
        Require(settings.maxLocalServants >= 1, name, L"1 or higher");
    }
    else if (name == L"ProcessorUtilizationLimit")
    {
        settings.processorUtilizationLimit = ParseUtilizationLimit(attribute);
    }
    else if (name == L"PhysicalMemoryUtilizationLimit")
    {
        settings.physicalMemoryUtilizationLimit = ParseUtilizationLimit(attribute);
    }
    else if (name == L"MaxRunningNoWaitCalls")
    {
        settings.maxRunningNoWaitCalls = qpr::ParseUInt32(value, name);
    }
    else if (name == L"NoWaitCallMemoryUsageLimitInMB")
    {
        settings.noWaitCallMemoryUsageLimitInMB = qpr::ParseFloat(value, name);
        Require(settings.noWaitCallMemoryUsageLimitInMB >= 0.0f, name, L"0 or higher");
    }
    else
    {
        return false;
    }
    return true;
}

} // namespace

const wchar_t* ConnectorName(ConnectorKind kind) noexcept
{
    switch (kind)
    {
    case ConnectorKind::Local:
        return L"LocalServiceConnector";
    case ConnectorKind::Network:
        return L"NetworkServiceConnector";
    case ConnectorKind::Hybrid:
        break;
    }
    return L"HybridServiceConnector";
}

ConnectorConfiguration ConnectorConfiguration::Parse(const std::string& xml)
{
    std::istringstream input(xml);
    const XmlElement root = XmlDocument::Read(input, L"service connector configuration").root;

    ConnectorConfiguration configuration;
    configuration.kind = ParseKind(root.name);
    const bool runsCallsHere = configuration.kind != ConnectorKind::Network;
    for (const Attribute& attribute : root.attributes)
    {
        if (!Take(attribute, configuration.settings)
            && !(runsCallsHere && Take(attribute, configuration.localExecution)))
            throw qpr::RuntimeError(L"Invalid attribute '" + attribute.first + L"' in <" + root.name + L"> element");
    }
    return configuration;
}

} // namespace qxm
