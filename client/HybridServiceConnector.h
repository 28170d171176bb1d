#pragma once

#include "client/HybridServiceCall.h"
#include "client/LocalExecutionConnector.h"
#include "runtime/threads/ThreadEvent.h"

namespace QxClient
{

/// Runs a call on this computer when there is room, else sends it to the network, where one call at a time waits for a
/// servant; the waiting call comes back when room becomes free here first. Calls that this computer is too small for go
/// to the network at once; a call that the network failed stays here for good.
class HybridServiceConnector final : public LocalExecutionConnector
{
public:
    HybridServiceConnector(const qxm::ServiceConnectorSettings& settings, std::unique_ptr<LocalComputer> computer,
        std::unique_ptr<ICallExecutor> executor);
    ~HybridServiceConnector() override;

    qxmi::IServiceCall* CreateServiceCall(qxmi::IServiceRequestW& request) override;

    // For the waiting call, on its thread.

    /// Signalled when the waiting call is to come back to this computer.
    qpr::WaitObject SwitchObject() const noexcept { return m_switchEvent.Object(); }
    void OnSwitched() QX_EXCLUDES(m_lock);
    void OnServantAssigned(HybridServiceCall& call) QX_EXCLUDES(m_lock);
    void OnNetworkStartFailed(HybridServiceCall& call) QX_EXCLUDES(m_lock);

private:
    void HandleError(const std::exception& error) override;
    void MakePass() override QX_REQUIRES(m_lock);
    bool Leave(ServiceCallBase& call) override QX_REQUIRES(m_lock);
    qxm::WorkRecord Record() const override QX_REQUIRES(m_lock);
    bool HasWorkForStarter() const override QX_REQUIRES(m_lock);

    /// Sends the first queued call that may go to the network there, where it waits. False when there is none.
    bool StartOneOnNetwork() QX_REQUIRES(m_lock);

    /// Calls the waiting call back when there is room for it here. The room is taken, and published, at once: until the
    /// call has come back it is both waiting and running here.
    void SwitchWaitingCallIfAdmitted() QX_REQUIRES(m_lock);
    bool IsSwitching() const QX_REQUIRES(m_lock);
    void EndWaiting() QX_REQUIRES(m_lock);
    std::size_t ActiveCount() const QX_REQUIRES(m_lock);

    qpr::ThreadEvent m_switchEvent;
    CallList m_runningOnNetwork QX_GUARDED_BY(m_lock);
    HybridServiceCall* m_waiting QX_GUARDED_BY(
        m_lock) = nullptr; // not owned: at the distributor, without a servant yet
};

} // namespace QxClient
