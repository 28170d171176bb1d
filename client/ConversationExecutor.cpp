#include "client/ConversationExecutor.h"

#include "protocol/DistributorRequest.h"
#include "protocol/ICallContext.h"
#include "protocol/ServantConversation.h"

#include <utility>

namespace QxClient
{

namespace
{

class DistributorExecution final : public INetworkExecution
{
public:
    DistributorExecution(qxm::ICallContext& call, const qxm::DistributorSettings& distributor,
        qxm::Introductions& introductions, const qxm::ConversationSettings& settings,
        std::optional<qpr::WaitObject> giveUpObject)
        : m_call(call)
        , m_settings(settings)
        , m_request(distributor.host, distributor.clientPort,
              {call.ServiceName(), call.Attributes(), !giveUpObject.has_value(), settings.logServiceExecutionInfo},
              introductions, call.GetCancellation(), giveUpObject)
    {
    }

    bool WaitUntilReady() override { return m_request.WaitUntilReady(); }

    void CarryOut() override { RunNetworkConversation(m_call, m_request, m_settings); }

private:
    qxm::ICallContext& m_call; // not owned
    qxm::ConversationSettings m_settings;
    qxm::DistributorRequest m_request;
};

} // namespace

ConversationExecutor::ConversationExecutor(
    qxm::HostDescription client, bool logServiceExecutionInfo, qxm::DistributorSettings distributor)
    : m_client(std::move(client))
    , m_introductions(m_client)
    , m_logServiceExecutionInfo(logServiceExecutionInfo)
    , m_distributor(std::move(distributor))
{
}

void ConversationExecutor::RunLocally(
    qxm::ICallContext& call, const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage)
{
    RunLocalConversation(call, service, usage, {m_client, m_logServiceExecutionInfo});
}

std::unique_ptr<INetworkExecution> ConversationExecutor::PrepareNetwork(
    qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject)
{
    return std::make_unique<DistributorExecution>(call, m_distributor, m_introductions,
        qxm::ConversationSettings{m_client, m_logServiceExecutionInfo}, giveUpObject);
}

} // namespace QxClient
