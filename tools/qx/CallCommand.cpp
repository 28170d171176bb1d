#include "tools/qx/Commands.h"

#include "runtime/InterruptSignal.h"
#include "runtime/StandardStreams.h"
#include "runtime/ThreadEvent.h"
#include "runtime/Utf8.h"
#include "tools/qx/CallLog.h"
#include "tools/qx/CallWaiter.h"
#include "tools/qx/Connector.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/Exchange.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/ServiceRequest.h"
#include "tools/qx/Table.h"
#include "tools/qx/TextArgument.h"

#include <qxmi/IServiceCall.h>

#include <array>
#include <memory>
#include <optional>

namespace
{

struct Options
{
    qx::ConnectorOptions connector;
    std::string service;
    std::vector<std::string> attributes;
    std::string logFile;
    std::optional<double> timeout; // in seconds
};

/// The call between this process's standard streams and the servant.
class CallRequest final : public qx::ServiceRequest
{
public:
    CallRequest(const Options& options, qx::CallLog& log)
        : ServiceRequest(qpr::FromUtf8(options.service), qx::ParseKeyValues(options.attributes))
        , m_log(log)
    {
    }

    void Execute(qxmi::IServiceConnectionW& connection) override
    {
        qpr::StandardInput input;
        qpr::StandardOutput output;
        qx::Exchange(input, output).Run(connection);
    }

    void WriteLog(const wchar_t* text, std::size_t length) override { m_log.Write(text, length); }

private:
    qx::CallLog& m_log;
};

enum class End
{
    ByItself,
    Interrupted,
    TimedOut,
};

/// Cancels the call when it does not end by itself first; then too it has ended on return.
End WaitForEnd(qxmi::IServiceCall& call, const qpr::InterruptSignal& interrupt, std::optional<double> timeout)
{
    qpr::ThreadEvent ended(qpr::ThreadEvent::Kind_ManualReset);
    const qx::CallWaiter waiter(call, [&ended] { ended.Signal(); });
    const std::array objects = {ended.Object(), interrupt.Object()};
    const auto timeoutMs = timeout ? static_cast<std::uint32_t>(*timeout * 1000) : qpr::Infinite;
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

void ThrowUnlessDone(const CallRequest& request, End end, std::optional<double> timeout)
{
    if (request.GetOutcome() == CallRequest::Outcome::Done)
        return;
    if (end == End::Interrupted)
        throw qx::Interrupted();
    if (end == End::TimedOut)
        throw std::runtime_error("call timed out after " + qx::FormatNumber(timeout.value(), 3) + " s");
    throw std::runtime_error(request.ErrorText());
}

constexpr double minTimeoutSeconds = 0.001;
constexpr double maxTimeoutSeconds = 4000000; // in milliseconds still a 32-bit number

int Call(const Options& options)
{
    if (options.timeout && !(*options.timeout >= minTimeoutSeconds && *options.timeout <= maxTimeoutSeconds))
        throw qx::WrongCommandLine("--timeout must be between 0.001 and 4000000 seconds");
    const qpr::InterruptSignal interrupt;
    qx::CallLog log(options.logFile);
    CallRequest request(options, log);
    const auto connector = qx::CreateConnector(options.connector);
    const qx::LibraryObject<qxmi::IServiceCall> call(connector->CreateServiceCall(request));
    const End end = WaitForEnd(*call, interrupt, options.timeout);
    ThrowUnlessDone(request, end, options.timeout);
    log.Close();
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddCallCommand(Program& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App& command =
        program.AddCommand("call", "Makes one service call between the standard input and the standard output",
            "echo hello | qx call --config QxConfiguration.xml Gzip | gunzip", [options] { return Call(*options); });
    options->connector.AddTo(command);
    command.add_option("SERVICE", options->service, "Name of the service")->required()->type_name("");
    command.add_option("KEY=VALUE", options->attributes, "Attributes of the request")->type_name("");
    command.add_option("--timeout", options->timeout, "Cancel the call after this many seconds")->type_name("SECONDS");
    command.add_option("--log", options->logFile, "Write the call's log there, not to the standard error stream")
        ->type_name("FILE");
}
