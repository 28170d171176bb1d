#include "distributor/JoinedCall.h"

#include "distributor/ByteCopy.h"
#include "distributor/ClientConversation.h"
#include "protocol/DistributorRequest.h"
#include "protocol/ExecutionInfoRecord.h"
#include "runtime/text/Errors.h"
#include "runtime/text/SystemErrors.h"

#include <utility>

namespace qxd
{
namespace
{

constexpr std::uint32_t dataBufferSize = 65536;
constexpr std::size_t logBufferSize = 4096;
constexpr std::uint32_t signalTimeMs = 100; // a servant that a signal ended is known by then

} // namespace

JoinedCall::JoinedCall(qpr::Socket& mainSocket)
    : m_mainSocket(mainSocket)
    , m_logChannel(m_logSocket, m_clientGone)
    , m_logBytes(m_logChannel, logBufferSize)
    , m_log(m_logBytes)
{
}

void JoinedCall::Start(IServantStarter& starter, std::vector<std::wstring> commandLine)
{
    m_commandLine = std::move(commandLine);
    m_servant = starter.Start(m_commandLine, m_log);
    m_mainSocket.SetResetOnClose(true);
}

void JoinedCall::Join(qpr::Socket logSocket)
{
    m_logSocket = std::move(logSocket);
    m_logSocket.EnableKeepAlive();
    m_logSocket.SetResetOnClose(true);
    m_mainSocket.SetReceiveBufferSize(dataBufferSize);
    m_mainSocket.SetSendBufferSize(dataBufferSize);
    m_logChannel.Connected();
    m_servant->OpenChannels({WaitForClientToo(), m_clientGone});
    m_inputCopier.emplace(m_mainSocket, *m_servant, m_clientGone);
}

ServantOutcome JoinedCall::WaitForEnd()
{
    CopyOutput();
    m_servant->CloseOutput();
    WaitForServantOrClient();
    m_inputCopier.reset();
    return m_servant->End();
}

qpr::Wait JoinedCall::WaitForClientToo()
{
    const auto onClientGone = [this]() -> std::uint32_t
    {
        m_clientGone.Cancel();
        m_clientGone.ThrowIfCancelled();
        return 0;
    };
    return qpr::Wait(m_clientGone).Or(m_logSocket.InputObject(), onClientGone);
}

void JoinedCall::WaitForServantOrClient()
{
    try
    {
        WaitForClientToo().For(m_servant->EndObject(), L"qxd::JoinedCall::WaitForServantOrClient");
    }
    catch (const qpr::RuntimeError&) // the client is gone
    {
    }
}

void JoinedCall::CopyOutput()
{
    qpr::SocketWriter writer(m_mainSocket, WaitForClientToo());
    const CopyEnd end = CopyBytes(m_servant->Output(), writer);
    if (ClientIsGone())
        return;
    if (end.kind == CopyEnd::Kind_EndOfData)
        NoteSignal();
    else if (end.kind == CopyEnd::Kind_SourceFailed)
        m_failure = end.error;
    if (end.kind == CopyEnd::Kind_EndOfData && m_failure.empty())
        m_mainSocket.TryShutdown(qpr::Socket::Direction::Send);
}

/// A servant that a signal ended did not choose where its data ends: the client must not take it for whole.
void JoinedCall::NoteSignal()
{
    if (!qpr::Thread::TryWaitForObject(m_servant->EndObject(), L"qxd::JoinedCall::NoteSignal", signalTimeMs))
        return;
    const std::uint32_t signal = m_servant->EndSignal();
    if (signal == 0)
        return;
    const std::wstring description = qpr::DescribeSignal(signal);
    m_failure = L"Servant '" + m_commandLine.front() + L"' was ended by signal " + std::to_wstring(signal)
        + (description.empty() ? L"" : L" (" + description + L")");
}

void JoinedCall::WriteExecutionInfo(const CallOrder& order, const qxm::HostDescription& host, const ServantOutcome& end)
{
    qxm::WriteExecutionInfoRecord(m_log,
        {order.service, order.request.attributes, host, order.clientIdentifier, m_commandLine, order.expectedUsage,
            end.figures});
    m_log.flush();
}

void JoinedCall::WriteFailure()
{
    if (!m_failure.empty())
        m_log << (m_logChannel.IsInLine() ? L"\n" : L"") << m_failure << std::endl;
}

void JoinedCall::WriteServantEnd(const ServantOutcome& end)
{
    if (!end.isExitCodeKnown)
        return;
    const bool isSignal = end.signal != 0;
    m_logBytes << qxm::servantEndMark << (isSignal ? "signal " : "exit ") << (isSignal ? end.signal : end.exitCode)
               << '\n'
               << std::flush;
}

void JoinedCall::Finish()
{
    m_logSocket.TryShutdown(qpr::Socket::Direction::Send);
    m_logSocket.SetResetOnClose(false);
    if (m_failure.empty())
        PartFrom(m_mainSocket);
}

} // namespace qxd
