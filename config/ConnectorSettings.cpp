#include "config/ConnectorSettings.h"

#include "config/XmlDocument.h"
#include "runtime/text/Errors.h"
#include "runtime/text/TextValues.h"

#include <sstream>

namespace qxm
{

namespace
{

constexpr ConnectorKind allKinds[] = {ConnectorKind::Local, ConnectorKind::Network, ConnectorKind::Hybrid};

void Require(bool isInRange, const std::wstring& attributeName, const wchar_t* range)
{
    if (!isInRange)
        throw qpr::RuntimeError(L"Invalid " + attributeName + L" value (must be " + range + L")");
}

float ParseUtilizationLimit(const XmlAttribute& attribute)
{
    const float limit = qpr::ParsePercentage(attribute.value, attribute.name);
    Require(limit >= 0.0f && limit <= 5.0f, attribute.name, L"between 0% and 500%");
    return limit;
}

/// Shared by the two names of this setting; the later one counts.
void TakeMaxLocalServants(const XmlAttribute& attribute, ConnectorConfiguration& configuration)
{
    const std::uint32_t count = qpr::ParseUInt32(attribute.value, attribute.name);
    Require(count >= 1, attribute.name, L"1 or higher");
    configuration.localExecution.maxLocalServants = count;
}

/// An attribute of the root element and what takes its value.
struct Setting
{
    const wchar_t* name;
    bool isForAll; ///< true: every connector has it; false: only those that run calls here
    void (*take)(const XmlAttribute& attribute, ConnectorConfiguration& configuration);
};

constexpr Setting allSettings[] = {
    {L"QxConfigurationPath", true,
        [](const XmlAttribute& attribute, ConnectorConfiguration& configuration)
        { configuration.settings.configurationPath = attribute.value; }},
    {L"MaxRunningCalls", true,
        [](const XmlAttribute& attribute, ConnectorConfiguration& configuration)
        {
            const std::uint64_t maxRunningCalls = qpr::ParseUInt64(attribute.value, attribute.name);
            Require(maxRunningCalls > 0, attribute.name, L"larger than 0");
            configuration.settings.maxRunningCalls = maxRunningCalls;
        }},
    {L"LogServiceExecutionInfo", true,
        [](const XmlAttribute& attribute, ConnectorConfiguration& configuration)
        { configuration.settings.logServiceExecutionInfo = qpr::ParseBool(attribute.value, attribute.name); }},
    {L"MaxLocalServants", false, TakeMaxLocalServants},
    {L"MaxLocalServantsWithUnknownResourceUsage", false, TakeMaxLocalServants},
    {L"ProcessorUtilizationLimit", false,
        [](const XmlAttribute& attribute, ConnectorConfiguration& configuration)
        { configuration.localExecution.processorUtilizationLimit = ParseUtilizationLimit(attribute); }},
    {L"PhysicalMemoryUtilizationLimit", false,
        [](const XmlAttribute& attribute, ConnectorConfiguration& configuration)
        { configuration.localExecution.physicalMemoryUtilizationLimit = ParseUtilizationLimit(attribute); }},
    {L"MaxRunningNoWaitCalls", false,
        [](const XmlAttribute& attribute, ConnectorConfiguration& configuration)
        { configuration.localExecution.maxRunningNoWaitCalls = qpr::ParseUInt32(attribute.value, attribute.name); }},
    {L"NoWaitCallMemoryUsageLimitInMB", false,
        [](const XmlAttribute& attribute, ConnectorConfiguration& configuration)
        {
            const float limit = qpr::ParseFloat(attribute.value, attribute.name);
            Require(limit >= 0.0f, attribute.name, L"0 or higher");
            configuration.localExecution.noWaitCallMemoryUsageLimitInMB = limit;
        }},
};

ConnectorKind ParseKind(const std::wstring& name)
{
    for (const ConnectorKind kind : allKinds)
    {
        if (name == ConnectorName(kind))
            return kind;
    }
    throw qpr::RuntimeError(L"Invalid service connector name '" + name + L"'");
}

void TakeAttribute(const XmlAttribute& attribute, ConnectorConfiguration& configuration)
{
    for (const Setting& setting : allSettings)
    {
        const bool applies = setting.isForAll || configuration.kind != ConnectorKind::Network;
        if (applies && attribute.name == setting.name)
            return setting.take(attribute, configuration);
    }
    throw qpr::RuntimeError(
        L"Invalid attribute '" + attribute.name + L"' in <" + ConnectorName(configuration.kind) + L"> element");
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
    for (const XmlAttribute& attribute : root.attributes)
        TakeAttribute(attribute, configuration);
    return configuration;
}

} // namespace qxm
