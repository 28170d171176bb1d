#include "tools/qx/ConnectorOptions.h"

#include "client/ConnectorFactory.h"
#include "config/LocalHost.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/Explanation.h"
#include "tools/qx/TextArgument.h"

namespace qx
{

void ConnectorOptions::AddTo(CLI::App& command, const std::string& connectorName)
{
    command
        .add_option(connectorName, m_connector, "Connector configuration, or @FILE (default: <LocalServiceConnector/>)")
        ->type_name("XML")
        ->group("Connector");
    command
        .add_option(
            "--config", m_configurationPath, "Configuration file (default: the connector's, then $QX_CONFIGURATION)")
        ->type_name("FILE")
        ->group("Connector");
}

qxm::ConnectorConfiguration ConnectorOptions::Connector() const
{
    auto connector = qxm::ConnectorConfiguration::Parse(ReadTextArgument(m_connector));
    std::wstring& path = connector.settings.configurationPath;
    if (m_configurationPath)
        path = qpr::FromUtf8(*m_configurationPath);
    else if (path.empty())
        path = qpr::EnvironmentVariable(L"QX_CONFIGURATION").value_or(std::wstring());
    return connector;
}

qxm::Configuration ReadConfigurationOf(const qxm::ConnectorConfiguration& connector)
{
    return NamingConfigurationFile(connector,
        [&]() -> qxm::Configuration
        {
            const std::wstring path = qxm::LocateConfigurationFile(connector.settings.configurationPath);
            if (connector.kind == qxm::ConnectorKind::Network)
                return {{}, qxm::ReadDistributorSettings(path)};
            return qxm::ReadConfiguration(path, qxm::DescribeLocalHost(L"client"));
        });
}

void ThrowNamingFile(const qxm::ConnectorConfiguration& connector, const std::exception& error)
{
    if (const auto* const placed = dynamic_cast<const qxm::ConfigurationError*>(&error))
    {
        const qxm::XmlPosition position = placed->GetPosition();
        throw ExplainedError(
            qpr::ToUtf8(L"configuration file '" + placed->GetPath() + L"', line " + std::to_wstring(position.line)
                + L", column " + std::to_wstring(position.column) + L": " + placed->GetReason()),
            error.what());
    }
    const std::wstring path = qxm::LocateConfigurationFile(connector.settings.configurationPath);
    if (qpr::ErrorText(error).starts_with(L"CreateFile('" + path + L"')"))
        throw ExplainedError("cannot read configuration '" + qpr::ToUtf8(path)
                + "': " + SystemDescriptionIn(error.what()) + "; name one with --config or QX_CONFIGURATION",
            error.what());
    throw Explain(error.what());
}

} // namespace qx

qx::LibraryObject<qxmi::IServiceConnectorW> qx::CreateConnector(const ConnectorOptions& options, Situation& situation)
{
    situation.connector = options.Connector();
    situation.configuration = ReadConfigurationOf(situation.connector);
    auto connector = QxClient::MakeConnector(situation.connector);
    connector->AddRef();
    return LibraryObject<qxmi::IServiceConnectorW>(connector.release());
}
