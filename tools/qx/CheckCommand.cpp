#include "tools/qx/Commands.h"

#include "runtime/text/Errors.h"
#include "runtime/text/PrintableText.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/ConfigurationCheck.h"
#include "tools/qx/ConfigurationReport.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/Table.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>

namespace
{

struct CheckOptions
{
    qx::ConnectorOptions connector;
    bool settingsOnly = false;
    bool strict = false;
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

/// Line and column of "file:line:column"; nothing for what is nowhere in the file.
std::wstring PlaceSuffix(qxm::XmlPosition position)
{
    return position.line == 0 ? std::wstring()
                              : L":" + std::to_wstring(position.line) + L":" + std::to_wstring(position.column);
}

void AddPlace(qx::Json& object, const std::wstring& path, qxm::XmlPosition position)
{
    object["file"] = qx::ToJson(path);
    object["line"] = position.line;
    object["column"] = position.column;
}

qx::Json ToJson(const qx::Problem& problem)
{
    qx::Json object = {{"severity", problem.severity == qx::Severity::Error ? "error" : "warning"}};
    AddPlace(object, problem.path, problem.position);
    object["message"] = qx::ToJson(problem.text);
    return object;
}

qx::Json ToJson(const qx::WithheldService& service)
{
    qx::Json object = {{"name", qx::ToJson(service.name)}};
    AddPlace(object, service.path, service.position);
    object["reason"] = qx::ToJson(service.reason);
    return object;
}

/// What was understood of one connector, and what was found wrong.
class Report
{
public:
    Report(const qxm::ConnectorConfiguration& connector, const qx::ConfigurationFindings* findings)
        : m_connector(connector)
        , m_findings(findings)
    {
    }

    void PrintJson() const
    {
        qx::Json document = {
            {"connector", qx::ToJson(std::wstring_view(qxm::ConnectorName(m_connector.kind)))},
            {"settings", SettingsToJson(m_connector)},
        };
        if (m_findings)
            AddFindings(document);
        qx::Print(document);
    }

    void PrintText() const
    {
        qx::Table table({{qpr::ToUtf8(qxm::ConnectorName(m_connector.kind))}, {""}});
        const qx::Json settings = SettingsToJson(m_connector);
        for (const auto& [name, value] : settings.items())
            table.AddRow({"  " + name, TextOf(value)});
        table.Print();
        if (m_findings && m_findings->configuration)
            PrintConfiguration(*m_findings->configuration);
    }

    /// As compilers write them, for editors to jump to.
    void PrintProblems() const
    {
        for (const qx::Problem& problem : m_findings->problems)
        {
            const std::wstring kind = problem.severity == qx::Severity::Error ? L": error: " : L": warning: ";
            const std::wstring line = problem.path + PlaceSuffix(problem.position) + kind + problem.text;
            std::cerr << qpr::ToUtf8(qpr::Printable(line, maxProblemLength)) << '\n';
        }
    }

private:
    static constexpr std::size_t maxProblemLength = 2000;

    bool IsNetwork() const { return m_connector.kind == qxm::ConnectorKind::Network; }

    void AddFindings(qx::Json& document) const
    {
        const std::optional<qxm::Configuration>& configuration = m_findings->configuration;
        if (configuration && IsNetwork())
            document["configuration"] = {{"distributor", qx::ToJson(configuration->distributor)}};
        else if (configuration)
            document["configuration"] = qx::ToJson(*configuration);
        qx::Json withheld = qx::Json::array();
        for (const qx::WithheldService& service : m_findings->withheld)
            withheld.push_back(ToJson(service));
        document["withheld"] = withheld;
        qx::Json problems = qx::Json::array();
        for (const qx::Problem& problem : m_findings->problems)
            problems.push_back(ToJson(problem));
        document["problems"] = problems;
    }

    void PrintConfiguration(const qxm::Configuration& configuration) const
    {
        std::cout << "\nConfiguration file: "
                  << qx::Printable(qpr::ToUtf8(qxm::LocateConfigurationFile(m_connector.settings.configurationPath)))
                  << '\n';
        if (!IsNetwork())
            qx::PrintServices(configuration.services);
        if (!m_findings->withheld.empty())
        {
            qx::Table table({{"NOT OFFERED"}, {"WHY"}});
            for (const qx::WithheldService& service : m_findings->withheld)
                table.AddRow({qpr::ToUtf8(service.name),
                    qpr::ToUtf8(service.reason + L" (" + service.path + PlaceSuffix(service.position) + L")")});
            table.Print();
        }
        qx::PrintDistributor(configuration.distributor);
    }

    static std::string TextOf(const qx::Json& value)
    {
        if (value.is_null())
            return "no limit";
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        return text.empty() ? "(default)" : text;
    }

    const qxm::ConnectorConfiguration& m_connector;
    const qx::ConfigurationFindings* m_findings; // null: the file was not to be read
};

std::wstring Count(std::size_t count, const wchar_t* noun)
{
    return std::to_wstring(count) + L" " + noun + (count == 1 ? L"" : L"s");
}

int Check(const CheckOptions& options)
{
    const qxm::ConnectorConfiguration connector = options.connector.Connector();
    std::optional<qx::ConfigurationFindings> findings;
    if (!options.settingsOnly)
        findings = qx::NamingConfigurationFile(connector, [&] { return qx::CheckConfiguration(connector); });
    const Report report(connector, findings ? &*findings : nullptr);
    const std::size_t errors =
        findings ? std::ranges::count(findings->problems, qx::Severity::Error, &qx::Problem::severity) : 0;
    const std::size_t warnings = findings ? findings->problems.size() - errors : 0;
    if (findings)
        report.PrintProblems();
    if (options.json)
        report.PrintJson();
    else if (errors == 0)
        report.PrintText();
    if (errors != 0 || (options.strict && warnings != 0))
        throw qpr::RuntimeError(Count(errors, L"error") + L" and " + Count(warnings, L"warning")
            + L" in configuration '" + qxm::LocateConfigurationFile(connector.settings.configurationPath) + L"'");
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddCheckCommand(Program& program)
{
    const auto options = std::make_shared<CheckOptions>();
    CLI::App& command = program.AddCommand("check", "Checks a connector configuration and its configuration file",
        "qx check '<LocalServiceConnector MaxLocalServants=\"4\"/>' --config QxConfiguration.xml",
        [options] { return Check(*options); });
    options->connector.AddTo(command, "XML,--connector");
    command.add_flag("--settings-only", options->settingsOnly, "Do not read the configuration file");
    command.add_flag("--strict", options->strict, "Fail on warnings too");
    command.add_flag("--json", options->json, "Print one JSON document");
}
