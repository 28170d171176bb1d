#include "tools/qx/Commands.h"

#include "config/ExpectedUsage.h"
#include "config/LocalHost.h"
#include "runtime/Errors.h"
#include "runtime/Utf8.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/ExitCode.h"
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

struct Options
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

qxm::LocalLimits LimitsOf(const Options& options, const qxm::LocalExecutionSettings& settings)
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
        ? "not told how many processors to use"
        : "told to use " + std::to_string(usage.numberOfProcessorsToUse) + " processors";
    std::cout << "A call of '" << qx::Printable(service) << "' is " << told << " and expected to need\n";
    qx::Table table({{""}, {"expected", qx::Table::Alignment_Right}, {"limit", qx::Table::Alignment_Right}});
    table.AddRow({"processors", qx::FormatNumber(usage.processors), qx::FormatNumber(limits.processors)});
    table.AddRow({"memory in MB", qx::FormatNumber(usage.memoryInMB), qx::FormatNumber(limits.memoryInMB)});
    table.Print();
    if (usage.addressSpaceExcessInMB > 0)
        std::cout << "The memory exceeds the servant's address space by "
                  << qx::FormatNumber(usage.addressSpaceExcessInMB) << " MB.\n";
}

int ShowUsage(const Options& options)
{
    qxm::ConnectorConfiguration connector = options.connector.Connector();
    connector.kind = qxm::ConnectorKind::Local; // what a call needs here does not depend on who asks
    const qxm::Configuration configuration = qx::ReadConfigurationOf(connector);
    const std::wstring name = qpr::FromUtf8(options.service);
    const auto service = configuration.services.find(name);
    if (service == configuration.services.end())
        throw qpr::RuntimeError(L"Service '" + name + L"' not available on local computer");

    const qxm::LocalLimits limits = LimitsOf(options, connector.localExecution);
    const qxm::ExpectedUsage usage = qxm::ComputeExpectedUsage(
        *service->second, qx::ParseKeyValues(options.attributes), limits, connector.localExecution.maxLocalServants);
    options.json ? PrintJson(options.service, usage, limits) : PrintText(options.service, usage, limits);
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddUsageCommand(Program& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App& command = program.AddCommand("usage", "Shows what a call is expected to use on this computer",
        "qx usage --config QxConfiguration.xml --processors 64 Render Width=800 Height=600",
        [options] { return ShowUsage(*options); });
    options->connector.AddTo(command);
    command.add_option("SERVICE", options->service, "Name of the service")->required()->type_name("");
    command.add_option("KEY=VALUE", options->attributes, "Attributes of the request")->type_name("");
    command.add_option("--processors", options->processors, "Suppose a computer with this many processors")
        ->check(AtLeastOne(options->processors))
        ->type_name("N");
    command.add_option("--memory-mb", options->memoryInMB, "Suppose a computer with this much memory")
        ->check(AtLeastOne(options->memoryInMB))
        ->type_name("N");
    command.add_flag("--json", options->json, "Print one JSON document");
}
