#include "distributor/JoinedCall.h"

#include "distributor/ByteCopy.h"
#include "distributor/ClientConversation.h"
#include "protocol/ExecutionInfoRecord.h"
#include "runtime/Errors.h"

#include <utility>

namespace qxd
{
namespace
{

constexpr std::uint32_t dataBufferSize = 65536;
constexpr std::size_t logBufferSize = 4096;

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
}

void JoinedCall::Join(qpr::Socket logSocket)
{
    m_logSocket = std::move(logSocket);
    m_logSocket.EnableKeepAlive();
    m_logSocket.SetResetOnClose(true);
    m_mainSocket.SetResetOnClose(true);
    m_mainSocket.SetReceiveBufferSize(dataBufferSize);
    m_mainSocket.SetSendBufferSize(dataBufferSize);
    m_logChannel.Connected();
    m_servant->OpenChannels({WaitForClientToo(), m_clientGone});
    m_inputCopier.emplace(m_mainSocket, *m_servant, m_clientGone);
}

ServantEnd JoinedCall::WaitForEnd()
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
    if (CopyBytes(m_servant->Output(), writer) == CopyEnd::EndOfData)
        m_mainSocket.TryShutdown(qpr::Socket::Direction::Send);
}

void JoinedCall::WriteExecutionInfo(const CallOrder& order, const qxm::HostDescription& host, const ServantEnd& end)
{
    qxm::WriteExecutionInfoRecord(m_log,
        {*order.service.info, order.attributes, host, order.clientIdentifier, m_commandLine, order.expectedUsage,
            end.figures});
    m_log.flush();
}

void JoinedCall::Finish()
{
    m_logSocket.TryShutdown(qpr::Socket::Direction::Send);
    m_logSocket.SetResetOnClose(false);
    m_mainSocket.SetResetOnClose(false);
    PartFrom(m_mainSocket);
}

} // namespace qxd
