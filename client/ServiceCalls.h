#pragma once

#include "client/ServiceCallBase.h"
#include "config/ExpectedUsage.h"
#include "config/ServiceInfo.h"
#include "runtime/threads/WaitObject.h"

#include <exception>
#include <optional>
#include <string_view>

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

    CallNeeds Needs() const override;

private:
    void CarryOut(CallPlace place) override;

    ICallExecutor& m_executor; // the connector's
    const qxm::LocalServiceInfo* m_service = nullptr; // the connector's; null: not available here
    qxm::ExpectedUsage m_usage;
};

/// A call that runs where the distributor finds a servant for it.
class NetworkServiceCall final : public ServiceCallBase
{
public:
    NetworkServiceCall(ServiceConnectorBase& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor);

    CallNeeds Needs() const override { return {.canRunLocally = false, .mayGoToNetwork = true}; }

private:
    void CarryOut(CallPlace place) override;

    ServiceConnectorBase& m_connector; // kept alive by the base
    ICallExecutor& m_executor; // the connector's
};

/// A call that runs on this computer or on the network; CallScheduler decides which, and when a call that waits at the
/// distributor comes back.
class HybridServiceCall final : public ServiceCallBase
{
public:
    HybridServiceCall(ServiceConnectorBase& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor);

    /// What the call will need here; to be given before it is queued. A call without is never run here.
    void SetService(
        const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage, const qxm::LocalLimits& limits);

    /// Writes one line about a decision into the log.
    void LogDecision(std::wstring_view text);

    CallNeeds Needs() const override;

private:
    void CarryOut(CallPlace place) override;

    /// False when the call is to run on this computer, on the same thread.
    bool RunOnNetwork();
    void FallBackToLocal(const std::exception& error);

    /// What makes a call that waits on the network come back; none for a call that cannot.
    std::optional<qpr::WaitObject> GiveUpObject() const;

    ServiceConnectorBase& m_connector; // kept alive by the base
    ICallExecutor& m_executor; // the connector's
    const qxm::LocalServiceInfo* m_service = nullptr; // the connector's; null: not available here
    qxm::ExpectedUsage m_usage;
    bool m_fitsLocally = false;
    bool m_hasFailedOnNetwork = false; // changed under the connector's lock
};

} // namespace QxClient
