#pragma once

#include "client/ICallExecutor.h"
#include "client/LocalComputer.h"
#include "client/ServiceConnectorBase.h"

#include <memory>

namespace QxClient
{

/// Runs every call on this computer, as soon as what all client processes run here leaves room for it. Small calls may
/// overtake large ones that wait for room.
class LocalServiceConnector final : public ServiceConnectorBase
{
public:
    LocalServiceConnector(const qxm::ServiceConnectorSettings& settings, qxm::HostDescription host,
        std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor);
    ~LocalServiceConnector() override;

    qxmi::IServiceCall* CreateServiceCall(qxmi::IServiceRequestW& request) override;

private:
    void HandleError(const std::exception& error) override;
    void WaitForStarterEvent() override;
    void StartPendingCalls() override QX_REQUIRES(m_lock);
    void PublishChange() override QX_REQUIRES(m_lock);
    void PublishChangeLater() noexcept override QX_REQUIRES(m_lock);
    bool Leave(ServiceCallBase& call) override QX_REQUIRES(m_lock);

    /// The next call of the walk that there is room for, moved to the running ones and published as such; null at the
    /// end.
    ServiceCallBase* AdmitNext(PendingQueue::Walk& walk) QX_REQUIRES(m_lock);
    qxm::WorkRecord Record() const QX_REQUIRES(m_lock);

    const std::unique_ptr<LocalComputer> m_computer;
    const std::unique_ptr<ICallExecutor> m_executor;
    CallList m_running QX_GUARDED_BY(m_lock);
};

} // namespace QxClient
