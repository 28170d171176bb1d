#pragma once

#include "runtime/Nullable.h"

#include <cstdint>
#include <string>

namespace qxm
{

/// The settings that every connector has.
struct ServiceConnectorSettings
{
    std::wstring configurationPath; ///< empty: the default place
    bool logServiceExecutionInfo = false;
    qpr::Nullable<std::uint64_t> maxRunningCalls; ///< null: no limit
};

/// The settings of connectors that run calls on this computer.
struct LocalExecutionSettings
{
    std::uint32_t maxLocalServants = 1;
    qpr::Nullable<float> processorUtilizationLimit; ///< a fraction of the processors; null: all
    qpr::Nullable<float> physicalMemoryUtilizationLimit; ///< a fraction of the physical memory; null: all
    std::uint32_t maxRunningNoWaitCalls = 1; ///< 0: no call is exempt from waiting
    float noWaitCallMemoryUsageLimitInMB = 512.0f;
};

enum class ConnectorKind
{
    Local,
    Network,
    Hybrid,
};

/// A connector configuration string, understood.
struct ConnectorConfiguration
{
    ConnectorKind kind = ConnectorKind::Local;
    ServiceConnectorSettings settings;
    LocalExecutionSettings localExecution; ///< the defaults for a network connector

    /// The XML document's root element names the connector, its attributes are the settings. Throws for the first thing
    /// wrong: the XML, the connector's name, an attribute in document order.
    static ConnectorConfiguration Parse(const std::string& xml);
};

/// The root element's name: "LocalServiceConnector" and so on.
const wchar_t* ConnectorName(ConnectorKind kind) noexcept;

} // namespace qxm
