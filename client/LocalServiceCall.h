#pragma once

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

} // namespace QxClient
