#include "client/ConversationExecutor.h"

#include "protocol/DistributorRequest.h"
#include "protocol/ICallContext.h"
#include "protocol/ServantConversation.h"

#include <utility>

namespace QxClient
{

ConversationExecutor::ConversationExecutor(
    qxm::HostDescription client, bool logServiceExecutionInfo, qxm::DistributorSettings distributor)
    : m_client(std::move(client))
    , m_clientLine(m_client.Write())
    , m_logServiceExecutionInfo(logServiceExecutionInfo)
    , m_distributor(std::move(distributor))
{
}

void ConversationExecutor::RunLocally(
    qxm::ICallContext& call, const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage)
{
    RunLocalConversation(call, service, usage, {m_client, m_logServiceExecutionInfo});
}

bool ConversationExecutor::RunOnNetwork(qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject,
    const std::function<void()>& onServantAssigned)
{
    qxm::DistributorRequest request(m_distributor.host, m_distributor.clientPort,
        {call.ServiceName(), call.Attributes(), !giveUpObject.has_value(), m_logServiceExecutionInfo}, m_clientLine,
        call.GetCancellation(), giveUpObject);
    if (!request.WaitUntilReady())
        return false;
    onServantAssigned();
    RunNetworkConversation(call, request, {m_client, m_logServiceExecutionInfo});
    return true;
}

} // namespace QxClient
