#pragma once

#include "client/ICallExecutor.h"
#include "client/ServiceCallBase.h"
#include "client/ServiceConnectorBase.h"
#include "runtime/threads/ThreadEvent.h"

#include <memory>

namespace QxClient
{

class NetworkServiceConnector;

/// A call that runs where the distributor finds a servant for it.
class NetworkServiceCall final : public ServiceCallBase
{
public:
    NetworkServiceCall(NetworkServiceConnector& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor);

    CallNeeds Needs() const override { return {.canRunLocally = false, .mayGoToNetwork = true}; }

private:
    void CarryOut() override;

    NetworkServiceConnector& m_connector; // kept alive by the base
    ICallExecutor& m_executor; // the connector's
};

/// Sends every call to the distributor, in arrival order, one at a time: the next one starts when the one before has
/// got its servant or has ended.
class NetworkServiceConnector final : public ServiceConnectorBase
{
public:
    NetworkServiceConnector(const qxm::ServiceConnectorSettings& settings, std::unique_ptr<ICallExecutor> executor);
    ~NetworkServiceConnector() override;

    qxmi::IServiceCall* CreateServiceCall(qxmi::IServiceRequestW& request) override;

    /// On the call's thread: it no longer waits.
    void OnServantAssigned(ServiceCallBase& call) QX_EXCLUDES(m_lock);

private:
    void HandleError(const std::exception& error) override;
    void WaitForStarterEvent() override;
    void StartPendingCalls() override QX_REQUIRES(m_lock);
    void PublishChange() override QX_REQUIRES(m_lock);
    void PublishChangeLater() noexcept override QX_REQUIRES(m_lock);
    bool Leave(ServiceCallBase& call) override QX_REQUIRES(m_lock);

    const std::unique_ptr<ICallExecutor> m_executor;
    qpr::ThreadEvent m_starterEvent;
    CallList m_running QX_GUARDED_BY(m_lock);
    const ServiceCallBase* m_waiting QX_GUARDED_BY(m_lock) = nullptr; // not owned: started, without a servant yet
};

} // namespace QxClient
