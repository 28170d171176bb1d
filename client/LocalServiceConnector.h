#pragma once

#include "client/LocalExecutionConnector.h"
#include "client/ServiceCallBase.h"
#include "config/ExpectedUsage.h"
#include "config/ServiceInfo.h"
#include "worktable/WorkSum.h"

namespace QxClient
{

class ICallExecutor;

/// A call that runs on this computer. One whose service is not offered here fails when it runs.
class LocalServiceCall final : public ServiceCallBase
{
public:
    LocalServiceCall(ServiceConnectorBase& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor);

    /// What the call will need; to be given before it is queued.
    void SetService(const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage);

    CallNeeds Needs() const override
    {
        return {qxm::SaneAmount(m_usage.processors), qxm::SaneAmount(m_usage.memoryInMB)};
    }

private:
    void CarryOut() override;

    ICallExecutor& m_executor; // the connector's
    const qxm::LocalServiceInfo* m_service = nullptr; // the connector's; null: not available here
    qxm::ExpectedUsage m_usage;
};

/// Runs every call on this computer, as soon as what all client processes run here leaves room for it. Small calls may
/// overtake large ones that wait for room.
class LocalServiceConnector final : public LocalExecutionConnector
{
public:
    LocalServiceConnector(const qxm::ServiceConnectorSettings& settings, std::unique_ptr<LocalComputer> computer,
        std::unique_ptr<ICallExecutor> executor);
    ~LocalServiceConnector() override;

    qxmi::IServiceCall* CreateServiceCall(qxmi::IServiceRequestW& request) override;

private:
    void HandleError(const std::exception& error) override;
    void MakePass() override QX_REQUIRES(m_lock);
    bool Leave(ServiceCallBase& call) override QX_REQUIRES(m_lock);
    qxm::WorkRecord Record() const override QX_REQUIRES(m_lock);
    bool HasWorkForStarter() const override QX_REQUIRES(m_lock);
};

} // namespace QxClient
