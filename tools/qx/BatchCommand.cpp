#include "tools/qx/Commands.h"

#include "runtime/channels/FilePath.h"
#include "runtime/processes/InterruptSignal.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/Batch.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/TextArgument.h"

#include <memory>

namespace
{

struct BatchOptions
{
    qx::ConnectorOptions connector;
    std::string service;
    std::vector<std::string> files;
    bool namesEndInNull = false;
    std::vector<std::string> attributes;
    std::string outputDirectory = ".";
    std::string suffix = ".out";
    std::string jobLog;
    bool resume = false;
};

void MakeDirectory(const std::filesystem::path& directory)
{
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error)
        throw std::runtime_error(
            "cannot make the output directory '" + qx::NameOf(directory) + "': " + error.message());
}

qx::JobLog OpenJobLog(const BatchOptions& options)
{
    if (options.jobLog.empty())
        return qx::JobLog();
    std::vector<std::string> settings = {"--service=" + options.service};
    for (const auto& [name, value] : qx::ParseKeyValues(options.attributes))
        settings.push_back("--attribute=" + qpr::ToUtf8(name) + '=' + qpr::ToUtf8(value));
    return qx::JobLog(options.jobLog, options.resume ? qx::JobLog::Start::Continue : qx::JobLog::Start::Anew, settings);
}

bool IsDone(const qx::BatchItem& item, const qx::JobLog& jobLog)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(item.output, error);
    return !error && jobLog.SaysDone(item.name, size);
}

int RunBatch(const BatchOptions& options, qx::Program& program)
{
    if (options.resume && options.jobLog.empty())
        throw qx::WrongCommandLine("--resume needs --joblog");
    qx::Situation situation{qpr::FromUtf8(options.service), qx::ParseKeyValues(options.attributes)};
    const std::filesystem::path directory = qpr::PathOfArgument(options.outputDirectory);
    std::vector<qx::BatchItem> items = qx::PlanBatch(
        qx::ExpandFileArguments(options.files, options.namesEndInNull ? '\0' : '\n'), directory, options.suffix);
    const auto connector = qx::CreateConnector(options.connector, situation);
    const auto& interrupt = qpr::InterruptSignal::UntilExit();
    MakeDirectory(directory);
    qx::RemoveAbandonedParts(directory);
    qx::JobLog jobLog = OpenJobLog(options);
    const std::size_t skipped = std::erase_if(items, [&](const auto& item) { return IsDone(item, jobLog); });

    qx::Batch batch(*connector, situation, jobLog, program, interrupt);
    const qx::BatchCounts counts = batch.Run(items, skipped);
    if (counts.failed > 0)
        throw std::runtime_error(
            std::to_string(counts.failed) + " of " + std::to_string(counts.total) + " calls failed");
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddBatchCommand(Program& program)
{
    const auto options = std::make_shared<BatchOptions>();
    CLI::App& command = program.AddCommand("batch", "Makes one service call per file",
        "qx batch --config QxConfiguration.xml --service Gzip --suffix .gz --output-dir packed *.txt",
        [options, &program] { return RunBatch(*options, program); });
    options->connector.AddTo(command);
    command.add_option("--service", options->service, "Name of the service")
        ->required()
        ->type_name("NAME")
        ->group("Calls");
    command
        .add_option("FILE", options->files,
            "Input files; @LIST reads names from a file, one per line; - reads them from standard input")
        ->required()
        ->type_name("");
    command.add_flag("-0,--null", options->namesEndInNull, "Names in lists end with a null character (find -print0)")
        ->group("Calls");
    command.add_option("--attribute", options->attributes, "Attribute of every request; may be repeated")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false)
        ->group("Calls");
    command.add_option("--output-dir", options->outputDirectory, "Directory for the outputs; created if missing")
        ->type_name("DIR")
        ->group("Outputs");
    command.add_option("--suffix", options->suffix, "Suffix of the outputs' names (default .out)")
        ->type_name("TEXT")
        ->group("Outputs");
    command.add_option("--joblog", options->jobLog, "Write a tab-separated log with one line per call")
        ->type_name("FILE")
        ->group("Job log");
    command
        .add_flag("--resume", options->resume, "Skip calls that the job log lists as done and whose outputs are there")
        ->group("Job log");
}
