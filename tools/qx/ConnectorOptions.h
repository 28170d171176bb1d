#pragma once

#include "config/Configuration.h"
#include "config/ConnectorSettings.h"
#include "tools/qx/Explanation.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <qxmi/IServiceConnectorW.h>
#include <string>

namespace qx
{

struct ReleaseReference
{
    template <class T>
    void operator()(T* object) const
    {
        object->Release();
    }
};

/// Holds one reference to an object of the library and gives it back.
template <class T>
using LibraryObject = std::unique_ptr<T, ReleaseReference>;

/// The options that say which connector, and with which configuration file. The file is the one that --config names,
/// else the connector's own, else the one that QX_CONFIGURATION names, else the library's default.
class ConnectorOptions
{
public:
    /// The name may hold a positional name beside "--connector".
    void AddTo(CLI::App& command, const std::string& connectorName = "--connector");

    /// The connector configuration with the configuration path filled in. Throws what Parse throws. Reads a file that
    /// the option names, which may be a pipe: to be called once.
    qxm::ConnectorConfiguration Connector() const;

private:
    std::string m_connector = "<LocalServiceConnector/>"; // or @FILE
    std::optional<std::string> m_configurationPath; // an empty one is the library's default
};

/// Reads the configuration file of these settings for this computer; for a network connector its distributor alone.
/// Every error names the file.
qxm::Configuration ReadConfigurationOf(const qxm::ConnectorConfiguration& connector);

/// Throws the same error with file, line and column in its text, or with what to do about a file that cannot be read.
[[noreturn]] void ThrowNamingFile(const qxm::ConnectorConfiguration& connector, const std::exception& error);

/// The action's result; what is wrong with the configuration file of these settings names the file.
template <class Action>
auto NamingConfigurationFile(const qxm::ConnectorConfiguration& connector, Action action)
{
    try
    {
        return action();
    }
    catch (const std::exception& error)
    {
        ThrowNamingFile(connector, error);
    }
}

/// Creates the connector that the options describe. Its configuration file is read first, so that every error about it
/// names the file; what was read goes into the situation, for errors of the connector's calls.
LibraryObject<qxmi::IServiceConnectorW> CreateConnector(const ConnectorOptions& options, Situation& situation);

} // namespace qx
