#include "tools/qx/Commands.h"

#include "runtime/channels/FilePath.h"
#include "runtime/channels/StandardStreams.h"
#include "runtime/processes/InterruptSignal.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/ThreadEvent.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/Exchange.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/RoomHolders.h"
#include "tools/qx/ServiceRequest.h"
#include "tools/qx/StandardError.h"
#include "tools/qx/Table.h"
#include "tools/qx/TextArgument.h"

#include <qxmi/IServiceCall.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <memory>
#include <optional>
#include <system_error>

namespace
{

struct CallOptions
{
    qx::ConnectorOptions connector;
    std::string service;
    std::vector<std::string> attributes;
    std::string logFile;
    std::optional<double> timeout; // in seconds
};

/// The standard output as the data's end of the call.
class Output final : public qpr::IWriter
{
public:
    explicit Output(qx::StandardError& errors)
        : m_errors(errors)
    {
    }

    void Write(const void* buffer, std::size_t size) override
    try
    {
        m_output.Write(buffer, size);
        m_errors.NoteOutput({static_cast<const char*>(buffer), size});
    }
    catch (const std::exception& error)
    {
        throw std::runtime_error("cannot write standard output: " + qx::SystemDescriptionIn(error.what()));
    }
    void Flush() override { }

private:
    qx::StandardError& m_errors;
    qpr::StandardOutput m_output;
};

/// Where a call's log goes: a file, written anew, or the standard error stream. Used by one thread at a time.
class CallLog
{
public:
    /// An empty name is the standard error stream, which outlives it. Throws std::runtime_error that names a file it
    /// cannot write.
    CallLog(std::string fileName, qx::StandardError& errors)
        : m_errors(errors)
        , m_fileName(std::move(fileName))
    {
        if (m_fileName.empty())
            return;
        errno = 0;
        m_file.open(qpr::PathOfArgument(m_fileName), std::ios::binary | std::ios::trunc);
        RequireSuccess();
    }

    void Write(const wchar_t* text, std::size_t length)
    {
        if (m_fileName.empty())
            return m_errors.WriteLog({text, length});
        m_file << qpr::ToUtf8({text, length}) << std::flush;
    }

    /// Throws when something of the log could not be written.
    void Close()
    {
        if (m_fileName.empty())
            return;
        errno = 0;
        m_file.close();
        RequireSuccess();
    }

private:
    void RequireSuccess() const
    {
        const int error = errno;
        if (!m_file)
            throw std::runtime_error("cannot write the log file '" + m_fileName + "'"
                + (error != 0 ? ": " + std::generic_category().message(error) : std::string()));
    }

    qx::StandardError& m_errors;
    std::string m_fileName;
    std::ofstream m_file;
};

/// The call between this process's standard streams and the servant.
class CallRequest final : public qx::ServiceRequest
{
public:
    CallRequest(const qx::Situation& situation, CallLog& log, qx::StandardError& errors)
        : ServiceRequest(situation.service, situation.attributes)
        , m_situation(situation)
        , m_log(log)
        , m_errors(errors)
    {
    }

    bool HasStarted() const noexcept { return m_hasStarted; }

    void Execute(qxmi::IServiceConnectionW& connection) override
    {
        m_hasStarted = true;
        qpr::StandardInput input;
        Output output(m_errors);
        qx::Exchange exchange(input, output);
        if (const auto failure = qx::RunToServantEnd(exchange, connection, m_situation))
            Fail(*failure);
    }

    void WriteLog(const wchar_t* text, std::size_t length) override { m_log.Write(text, length); }

private:
    const qx::Situation& m_situation;
    CallLog& m_log;
    qx::StandardError& m_errors;
    std::atomic<bool> m_hasStarted = false;
};

constexpr std::uint32_t waitingTimeMs = 1000; // after which a call that waits for room says so

void TellWaiting(const qx::Situation& situation, qx::StandardError& errors)
{
    if (situation.connector.kind == qxm::ConnectorKind::Network)
        errors.WriteError("waiting for the distributor at " + qx::DistributorAddress(situation));
    else if (const std::optional<std::string> waiting = qx::DescribeWaiting())
        errors.WriteError(*waiting);
}

enum class End
{
    ByItself,
    Interrupted,
    TimedOut,
};

/// Waits for the call on a thread of its own. Destroyed before the call has ended, it cancels the call and waits for
/// that.
class CallEnd
{
public:
    CallEnd(qxmi::IServiceCall& call, const qpr::InterruptSignal& interrupt)
        : m_interrupt(interrupt)
        , m_waiter(call, [this] { m_ended.Signal(); })
    {
    }

    End Wait(std::uint32_t timeoutMs)
    {
        const std::array objects = {m_ended.Object(), m_interrupt.Object()};
        switch (qpr::Thread::TryWaitForAnyObject(objects, L"qx::Call", timeoutMs))
        {
        case 0:
            return End::ByItself;
        case 1:
            return End::Interrupted;
        default:
            return End::TimedOut;
        }
    }

private:
    const qpr::InterruptSignal& m_interrupt;
    qpr::ThreadEvent m_ended{qpr::ThreadEvent::Kind_ManualReset};
    qx::CallWaiter m_waiter;
};

/// On return the call has ended, cancelled when it did not end by itself first.
End WaitForEnd(qxmi::IServiceCall& call, const CallRequest& request, const qx::Situation& situation,
    const qpr::InterruptSignal& interrupt, std::uint32_t timeoutMs, qx::StandardError& errors)
{
    CallEnd callEnd(call, interrupt);
    if (!errors.IsTerminal() || timeoutMs <= waitingTimeMs)
        return callEnd.Wait(timeoutMs);
    const End end = callEnd.Wait(waitingTimeMs);
    if (end != End::TimedOut)
        return end;
    if (!request.HasStarted())
        TellWaiting(situation, errors);
    return callEnd.Wait(timeoutMs == qpr::Infinite ? timeoutMs : timeoutMs - waitingTimeMs);
}

void ThrowIfCancelled(End end, std::optional<double> timeout)
{
    if (end == End::Interrupted)
        throw qx::Interrupted();
    if (end == End::TimedOut)
        throw std::runtime_error("call timed out after " + qx::FormatNumber(timeout.value(), 3) + " s");
}

constexpr double minTimeoutSeconds = 0.001;
constexpr double maxTimeoutSeconds = 4000000; // in milliseconds still a 32-bit number

int Call(const CallOptions& options, qx::Program& program)
{
    if (options.timeout && !(*options.timeout >= minTimeoutSeconds && *options.timeout <= maxTimeoutSeconds))
        throw qx::WrongCommandLine("--timeout must be between 0.001 and 4000000 seconds");
    const auto timeoutMs = options.timeout ? static_cast<std::uint32_t>(*options.timeout * 1000) : qpr::Infinite;
    qx::Situation situation{qpr::FromUtf8(options.service), qx::ParseKeyValues(options.attributes)};
    qx::StandardError& errors = program.Errors();
    const auto& interrupt = qpr::InterruptSignal::UntilExit();
    CallLog log(options.logFile, errors);
    CallRequest request(situation, log, errors);
    const auto connector = qx::CreateConnector(options.connector, situation);
    const qx::LibraryObject<qxmi::IServiceCall> call(
        qx::Explaining(situation, [&] { return connector->CreateServiceCall(request); }));
    const End end = WaitForEnd(*call, request, situation, interrupt, timeoutMs, errors);
    if (request.GetOutcome() == CallRequest::Outcome::Done)
    {
        log.Close();
        return qx::ExitCode_Done;
    }
    ThrowIfCancelled(end, options.timeout);
    program.Report(qx::Explain(request.ErrorText(), situation));
    return qx::ExitCode_Failed;
}

} // namespace

void qx::AddCallCommand(Program& program)
{
    const auto options = std::make_shared<CallOptions>();
    CLI::App& command = program.AddCommand("call", "Makes one service call, from standard input to standard output",
        "echo hello | qx call --config QxConfiguration.xml Gzip | gunzip",
        [options, &program] { return Call(*options, program); });
    options->connector.AddTo(command);
    command.add_option("SERVICE", options->service, "Name of the service")->required()->type_name("");
    command.add_option("KEY=VALUE", options->attributes, "Attributes of the request, for the service's formulas")
        ->type_name("");
    command.add_option("--timeout", options->timeout, "Cancel the call after this many seconds")
        ->type_name("SECONDS")
        ->group("Call");
    command.add_option("--log", options->logFile, "Write the call's log to this file instead of standard error")
        ->type_name("FILE")
        ->group("Call");
}
