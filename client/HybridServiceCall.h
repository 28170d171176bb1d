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

class HybridServiceConnector;
class ICallExecutor;

/// A call that runs on this computer or on the network. What it knows of its way is the connector's to change, under
/// the connector's lock.
class HybridServiceCall final : public ServiceCallBase
{
public:
    enum class Mode
    {
        Local,
        Network,
    };

    HybridServiceCall(HybridServiceConnector& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor);

    /// What the call will need here; to be given before it is queued. A call without is never run here.
    void SetService(
        const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage, const qxm::LocalLimits& limits);

    /// Writes one line about a decision into the log.
    void LogDecision(std::wstring_view text);

    CallNeeds Needs() const override;

    /// Within the local limits, or else failed on the network before.
    bool CanRunLocally() const noexcept { return m_service && (m_fitsLocally || m_hasFailedOnNetwork); }

    void SetMode(Mode mode) noexcept { m_mode = mode; }
    void SetFailedOnNetwork() noexcept { m_hasFailedOnNetwork = true; }
    bool HasFailedOnNetwork() const noexcept { return m_hasFailedOnNetwork; }

private:
    void CarryOut() override;

    /// False when the call is to run on this computer, on the same thread.
    bool RunOnNetwork();
    void FallBackToLocal(const std::exception& error);

    /// What makes a call that waits on the network come back; none for a call that cannot.
    std::optional<qpr::WaitObject> GiveUpObject() const;

    HybridServiceConnector& m_connector; // kept alive by the base
    ICallExecutor& m_executor; // the connector's
    const qxm::LocalServiceInfo* m_service = nullptr; // the connector's; null: not available here
    qxm::ExpectedUsage m_usage;
    bool m_fitsLocally = false;
    bool m_hasFailedOnNetwork = false;
    Mode m_mode = Mode::Local;
};

} // namespace QxClient
