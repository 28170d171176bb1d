#include "tools/qx/Commands.h"

#include "runtime/FilePath.h"
#include "runtime/InterruptSignal.h"
#include "runtime/Utf8.h"
#include "tools/qx/Batch.h"
#include "tools/qx/Connector.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/TextArgument.h"

#include <algorithm>
#include <memory>

namespace
{

struct Options
{
    qx::ConnectorOptions connector;
    std::string service;
    std::vector<std::string> files;
    std::vector<std::string> attributes;
    std::string outputDirectory = ".";
    std::string suffix = ".out";
    std::string jobLog;
    bool resume = false;
};

std::vector<qx::BatchItem> Plan(const Options& options)
{
    const std::vector<std::string> files = qx::ExpandFileArguments(options.files);
    if (!options.jobLog.empty())
    {
        const auto unfit = std::find_if_not(files.begin(), files.end(), qx::JobLog::CanName);
        if (unfit != files.end())
            throw qx::WrongCommandLine("a job log cannot hold the file name '" + *unfit + "'");
    }
    return qx::PlanBatch(files, qpr::ToFilesystemPath(qpr::FromUtf8(options.outputDirectory)), options.suffix);
}

qx::JobLog OpenJobLog(const Options& options)
{
    return options.jobLog.empty() ? qx::JobLog() : qx::JobLog(options.jobLog, options.resume);
}

int RunBatch(const Options& options)
{
    if (options.resume && options.jobLog.empty())
        throw qx::WrongCommandLine("--resume needs --joblog");
    const qx::ServiceRequest::Attributes attributes = qx::ParseKeyValues(options.attributes);
    std::vector<qx::BatchItem> items = Plan(options);
    const auto connector = qx::CreateConnector(options.connector);
    const qpr::InterruptSignal interrupt;
    std::filesystem::create_directories(qpr::ToFilesystemPath(qpr::FromUtf8(options.outputDirectory)));
    qx::JobLog jobLog = OpenJobLog(options);
    std::erase_if(items, [&jobLog](const qx::BatchItem& item) { return jobLog.FilesDone().contains(item.file); });

    qx::Batch batch(*connector, jobLog, interrupt);
    const qx::BatchCounts counts = batch.Run(items, qpr::FromUtf8(options.service), attributes);
    if (counts.failed > 0)
        throw std::runtime_error(
            std::to_string(counts.failed) + " of " + std::to_string(counts.total) + " calls failed");
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddBatchCommand(Program& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App& command = program.AddCommand("batch", "Makes one service call a file",
        "qx batch --config QxConfiguration.xml --service Gzip --suffix .gz --output-dir packed *.txt",
        [options] { return RunBatch(*options); });
    options->connector.AddTo(command);
    command.add_option("--service", options->service, "Name of the service")->required()->type_name("NAME");
    command.add_option("FILE", options->files, "Input files; @LIST or - names a list, a file a line")
        ->required()
        ->type_name("");
    command.add_option("--attribute", options->attributes, "Attribute of every request; may be repeated")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    command.add_option("--output-dir", options->outputDirectory, "Where the outputs go; made when missing")
        ->type_name("DIR");
    command.add_option("--suffix", options->suffix, "Added to a file's name for its output, .out unless given")
        ->type_name("TEXT");
    command.add_option("--joblog", options->jobLog, "Keep a log, a tab-separated line a call")->type_name("FILE");
    command.add_flag("--resume", options->resume, "Skip what the job log tells as done, and continue it");
}
