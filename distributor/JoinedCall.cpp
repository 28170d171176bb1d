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
    , m_waiter(m_logSocket)
    , m_logChannel(m_logSocket, m_waiter.GetCancellation())
    , m_logBytes(m_logChannel, logBufferSize)
    , m_log(m_logBytes)
{
}

void JoinedCall::Start(IServantStarter& starter, std::vector<std::wstring> commandLine)
{
    m_commandLine = std::move(commandLine);
    m_servant = starter.Start(m_commandLine, m_log, m_waiter);
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
    m_inputCopier.emplace(m_mainSocket, *m_servant, m_waiter.GetCancellation());
}

ServantEnd JoinedCall::WaitForEnd()
{
    CopyOutput();
    m_servant->CloseOutput();
    WaitForServantOrClient();
    m_inputCopier.reset();
    return m_servant->End();
}

void JoinedCall::WaitForServantOrClient()
{
    try
    {
        m_waiter.WaitFor(m_servant->EndObject(), L"qxd::JoinedCall::WaitForServantOrClient");
    }
    catch (const qpr::RuntimeError&) // the client is gone
    {
    }
}

void JoinedCall::CopyOutput()
{
    qpr::SocketWriter writer(m_mainSocket, m_waiter);
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
