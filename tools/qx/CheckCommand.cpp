#include "tools/qx/Commands.h"

#include "runtime/Utf8.h"
#include "tools/qx/ConfigurationReport.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/Table.h"

#include <iostream>
#include <memory>

namespace
{

struct Options
{
    qx::ConnectorOptions connector;
    bool settingsOnly = false;
    bool json = false;
};

qx::Json SettingsToJson(const qxm::ConnectorConfiguration& connector)
{
    qx::Json settings = {
        {"QxConfigurationPath", qx::ToJson(connector.settings.configurationPath)},
        {"LogServiceExecutionInfo", connector.settings.logServiceExecutionInfo},
        {"MaxRunningCalls", qx::ToJson(connector.settings.maxRunningCalls)},
    };
    if (connector.kind == qxm::ConnectorKind::Network)
        return settings;
    const qxm::LocalExecutionSettings& local = connector.localExecution;
    settings["MaxLocalServants"] = local.maxLocalServants;
    settings["ProcessorUtilizationLimit"] = qx::ToJson(local.processorUtilizationLimit);
    settings["PhysicalMemoryUtilizationLimit"] = qx::ToJson(local.physicalMemoryUtilizationLimit);
    settings["MaxRunningNoWaitCalls"] = local.maxRunningNoWaitCalls;
    settings["NoWaitCallMemoryUsageLimitInMB"] = qx::ToJson(local.noWaitCallMemoryUsageLimitInMB);
    return settings;
}

/// What was understood of one connector.
class Report
{
public:
    Report(const qxm::ConnectorConfiguration& connector, const qxm::Configuration* configuration)
        : m_connector(connector)
        , m_configuration(configuration)
    {
    }

    void PrintJson() const
    {
        qx::Json document = {
            {"connector", qx::ToJson(std::wstring_view(qxm::ConnectorName(m_connector.kind)))},
            {"settings", SettingsToJson(m_connector)},
        };
        if (m_configuration && IsNetwork())
            document["configuration"] = {{"distributor", qx::ToJson(m_configuration->distributor)}};
        else if (m_configuration)
            document["configuration"] = qx::ToJson(*m_configuration);
        qx::Print(document);
    }

    void PrintText() const
    {
        qx::Table table({{qpr::ToUtf8(qxm::ConnectorName(m_connector.kind))}, {""}});
        const qx::Json settings = SettingsToJson(m_connector);
        for (const auto& [name, value] : settings.items())
            table.AddRow({"  " + name, TextOf(value)});
        table.Print();
        if (!m_configuration)
            return;
        std::cout << "\nConfiguration file: "
                  << qx::Printable(qpr::ToUtf8(qxm::LocateConfigurationFile(m_connector.settings.configurationPath)))
                  << '\n';
        if (!IsNetwork())
            qx::PrintServices(m_configuration->services);
        qx::PrintDistributor(m_configuration->distributor);
    }

private:
    bool IsNetwork() const { return m_connector.kind == qxm::ConnectorKind::Network; }

    static std::string TextOf(const qx::Json& value)
    {
        if (value.is_null())
            return "no limit";
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        return text.empty() ? "(default)" : text;
    }

    const qxm::ConnectorConfiguration& m_connector;
    const qxm::Configuration* m_configuration; // null: was not to be read
};

int Check(const Options& options)
{
    const qxm::ConnectorConfiguration connector = options.connector.Connector();
    qxm::Configuration configuration;
    if (!options.settingsOnly)
        configuration = qx::ReadConfigurationOf(connector);
    const Report report(connector, options.settingsOnly ? nullptr : &configuration);
    options.json ? report.PrintJson() : report.PrintText();
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddCheckCommand(Program& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App& command = program.AddCommand("check", "Checks a connector configuration and its configuration file",
        "qx check '<LocalServiceConnector MaxLocalServants=\"4\"/>' --config QxConfiguration.xml",
        [options] { return Check(*options); });
    options->connector.AddTo(command, "XML,--connector");
    command.add_flag("--settings-only", options->settingsOnly, "Leave the configuration file alone");
    command.add_flag("--json", options->json, "Print one JSON document");
}
