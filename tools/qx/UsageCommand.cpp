#include "tools/qx/Commands.h"

#include "config/ExpectedUsage.h"
#include "config/LocalHost.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Explanation.h"
#include "tools/qx/Json.h"
#include "tools/qx/Program.h"
#include "tools/qx/Table.h"
#include "tools/qx/TextArgument.h"

#include <iostream>
#include <limits>
#include <memory>
#include <optional>

namespace
{

struct UsageOptions
{
    qx::ConnectorOptions connector;
    std::string service;
    std::vector<std::string> attributes;
    std::optional<std::uint32_t> processors;
    std::optional<std::uint64_t> memoryInMB;
    bool json = false;
};

/// For an option of that type; the help shows no range.
template <class T>
CLI::Validator AtLeastOne(const std::optional<T>&)
{
    return CLI::Range(T(1), std::numeric_limits<T>::max()).description("");
}

qxm::LocalLimits LimitsOf(const UsageOptions& options, const qxm::LocalExecutionSettings& settings)
{
    const qxm::HostDescription host = qxm::DescribeLocalHost(L"client");
    return {options.processors.value_or(host.cpuCount), options.memoryInMB.value_or(host.memorySizeInMB), settings};
}

void PrintJson(const std::string& service, const qxm::ExpectedUsage& usage, const qxm::LocalLimits& limits)
{
    qx::Print({
        {"service", service},
        {"expectedProcessorUsage", qx::ToJson(usage.processors)},
        {"expectedMemoryUsageInMB", qx::ToJson(usage.memoryInMB)},
        {"numberOfProcessorsToUse", usage.numberOfProcessorsToUse},
        {"addressSpaceExcessInMB", qx::ToJson(usage.addressSpaceExcessInMB)},
        {"processorLimit", qx::ToJson(limits.processors)},
        {"memoryLimitInMB", qx::ToJson(limits.memoryInMB)},
    });
}

void PrintText(const std::string& service, const qxm::ExpectedUsage& usage, const qxm::LocalLimits& limits)
{
    const std::string told = usage.numberOfProcessorsToUse == 0
        ? "is not told how many processors to use"
        : "is told to use " + std::to_string(usage.numberOfProcessorsToUse) + " processors";
    std::cout << "A call of '" << qx::Printable(service) << "' is expected to need the following, and " << told
              << ".\n";
    qx::Table table({{""}, {"expected", qx::Table::Alignment_Right}, {"limit", qx::Table::Alignment_Right}});
    table.AddRow({"processors", qx::FormatNumber(usage.processors), qx::FormatNumber(limits.processors)});
    table.AddRow({"memory in MB", qx::FormatNumber(usage.memoryInMB), qx::FormatNumber(limits.memoryInMB)});
    table.Print();
    if (usage.processors > limits.processors || usage.memoryInMB > limits.memoryInMB)
        std::cout << "That is more than the limit: the call runs here only while nothing else does.\n";
    if (usage.addressSpaceExcessInMB > 0)
        std::cout << "The memory exceeds the servant's address space by "
                  << qx::FormatNumber(usage.addressSpaceExcessInMB) << " MB.\n";
}

int ShowUsage(const UsageOptions& options)
{
    qx::Situation situation{
        qpr::FromUtf8(options.service), qx::ParseKeyValues(options.attributes), options.connector.Connector()};
    situation.connector.kind = qxm::ConnectorKind::Local; // what a call needs here does not depend on who asks
    situation.configuration = qx::ReadConfigurationOf(situation.connector);
    const qxm::LocalExecutionSettings& settings = situation.connector.localExecution;
    const qxm::LocalLimits limits = LimitsOf(options, settings);
    const qxm::ExpectedUsage usage = qx::Explaining(situation,
        [&]
        {
            const auto service = situation.configuration.services.find(situation.service);
            if (service == situation.configuration.services.end())
                throw qpr::RuntimeError(L"Service '" + situation.service + L"' not available on local computer");
            return qxm::ComputeExpectedUsage(*service->second, situation.attributes, limits, settings.maxLocalServants);
        });
    options.json ? PrintJson(options.service, usage, limits) : PrintText(options.service, usage, limits);
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddUsageCommand(Program& program)
{
    const auto options = std::make_shared<UsageOptions>();
    CLI::App& command = program.AddCommand("usage", "Shows what a call is expected to use on this computer",
        "qx usage --config QxConfiguration.xml --processors 64 Render Width=800 Height=600",
        [options] { return ShowUsage(*options); });
    options->connector.AddTo(command);
    command.add_option("SERVICE", options->service, "Name of the service")->required()->type_name("");
    command.add_option("KEY=VALUE", options->attributes, "Attributes of the request, for the service's formulas")
        ->type_name("");
    command.add_option("--processors", options->processors, "Assume a computer with this many processors")
        ->check(AtLeastOne(options->processors))
        ->type_name("N")
        ->group("Another computer");
    command.add_option("--memory-mb", options->memoryInMB, "Assume a computer with this much memory")
        ->check(AtLeastOne(options->memoryInMB))
        ->type_name("N")
        ->group("Another computer");
    command.add_flag("--json", options->json, "Print one JSON document");
}
