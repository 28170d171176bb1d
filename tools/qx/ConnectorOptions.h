#pragma once

#include "config/Configuration.h"
#include "config/ConnectorSettings.h"

#include <CLI/CLI.hpp>

#include <string>

namespace qx
{

/// The options that say which connector, and with which configuration file. The file is the one that --config names,
/// else the connector's own, else the one that QX_CONFIGURATION names, else the library's default.
class ConnectorOptions
{
public:
    /// The name may hold a positional name beside "--connector".
    void AddTo(CLI::App& command, const std::string& connectorName = "--connector");

    /// The connector configuration for the library, the configuration path filled in. Throws what Parse throws.
    std::string ConnectorXml() const;

    /// The same, understood.
    qxm::ConnectorConfiguration Connector() const { return qxm::ConnectorConfiguration::Parse(ConnectorXml()); }

private:
    std::string m_connector = "<LocalServiceConnector/>"; // or @FILE
    std::string m_configurationPath;
};

/// Reads the configuration file of these settings for this computer; for a network connector its distributor alone.
/// Every error names the file.
qxm::Configuration ReadConfigurationOf(const qxm::ConnectorConfiguration& connector);

} // namespace qx
