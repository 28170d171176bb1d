#include "protocol/ExecutionInfoRecord.h"
#include "protocol/GenericServiceConnection.h"
#include "protocol/HandOver.h"
#include "protocol/ServantAnswer.h"
#include "protocol/ServantCommandLine.h"
#include "protocol/ServantConversation.h"
#include "protocol/ServantProcess.h"
#include "runtime/threads/Cancellation.h"

namespace qxm
{

namespace
{

using PipeConnection = GenericServiceConnection<ServantOutputReader, qpr::IOWriter>;

bool AwaitEnd(const ServantProcess& servant, const qpr::Cancellation& cancellation, qxmi::ServantEnd& end)
{
    const qpr::ChildProcess::ExitStatus status = servant.AwaitEnd(cancellation);
    if (status.isKnown)
        end = {status.signal == 0 ? status.exitCode : 0, status.signal};
    return status.isKnown;
}

/// True when the call used its connection without an error.
bool Converse(ICallContext& call, ServantProcess& servant, const std::wstring& clientIdentifier)
{
    const qpr::Cancellation& cancellation = call.GetCancellation();
    PipeConnection connection(servant.OpenOutput(cancellation), servant.OpenInput(cancellation),
        {call.ServiceName(), clientIdentifier, {}, true, 0},
        {[&servant] { servant.CloseInput(); },
            [&](qxmi::ServantEnd& end) { return AwaitEnd(servant, cancellation, end); }});
    // What comes behind the answer waits in the connection's own buffer.
    const ServantAnswer answer = ReadServantAnswer(connection.InputStream(), call.ServiceName());
    connection.SetServantIdentification(answer.identification);
    return HandOverConnection(call, connection, answer.compressionProtocol);
}

} // namespace

void RunLocalConversation(ICallContext& call, const LocalServiceInfo& service, const ExpectedUsage& usage,
    const ConversationSettings& settings)
{
    const std::wstring& clientIdentifier = settings.client.identifier;
    const std::vector<std::wstring> commandLine = BuildExecuteCommandLine(
        service, clientIdentifier, StartedBy::Client, usage.numberOfProcessorsToUse, CompressionMode::None);

    ServantProcess servant(commandLine, call.Log());
    const bool used = Attempt(call, [&] { return Converse(call, servant, clientIdentifier); });
    if (settings.logServiceExecutionInfo)
        servant.NotePeakMemory();
    if (!used)
        servant.Hurry();
    const qpr::ChildProcess::ExitStatus status = servant.WaitForEnd(call.GetCancellation());

    if (!used && status.isKnown && status.exitCode != 0)
        call.Log() << L"Warning: Servant " << commandLine.front() << L" terminated with exit code " << status.exitCode
                   << std::endl;
    if (settings.logServiceExecutionInfo)
    {
        WriteExecutionInfoRecord(call.Log(),
            {service, call.Attributes(), settings.client, clientIdentifier, commandLine, usage, servant.Figures()});
        call.Log().flush();
    }
}

} // namespace qxm
