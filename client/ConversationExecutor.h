#pragma once

#include "client/ICallExecutor.h"
#include "config/Configuration.h"

namespace QxClient
{

/// Carries calls out for real: servants started here, or a distributor.
class ConversationExecutor final : public ICallExecutor
{
public:
    ConversationExecutor(
        qxm::HostDescription client, bool logServiceExecutionInfo, qxm::DistributorSettings distributor);

    void RunLocally(
        qxm::ICallContext& call, const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage) override;
    bool RunOnNetwork(qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject,
        const std::function<void()>& onServantAssigned) override;

private:
    const qxm::HostDescription m_client;
    const std::wstring m_clientLine; ///< as distributors get it
    const bool m_logServiceExecutionInfo;
    const qxm::DistributorSettings m_distributor;
};

} // namespace QxClient
