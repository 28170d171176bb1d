#pragma once

#include "client/ICallExecutor.h"
#include "client/LocalComputer.h"
#include "client/ServiceConnectorBase.h"

#include <memory>

namespace QxClient
{

/// What the connectors that can run calls on this computer have in common: the computer with its work table, in which
/// every change of their lists is published and whose changes wake their starter, and the local pass over the queue.
class LocalExecutionConnector : public ServiceConnectorBase
{
protected:
    LocalExecutionConnector(const qxm::ServiceConnectorSettings& settings, std::unique_ptr<LocalComputer> computer,
        std::unique_ptr<ICallExecutor> executor);
    ~LocalExecutionConnector() override;

    LocalComputer& Computer() const noexcept { return *m_computer; }
    ICallExecutor& Executor() const noexcept { return *m_executor; }

    /// One pass over the queue, which the table may end by an exception.
    virtual void MakePass() QX_REQUIRES(m_lock) = 0;

    /// Starts the first queued call that can run here and that there is room for, in local mode. False when there is
    /// none.
    bool StartOneLocally() QX_REQUIRES(m_lock);

    /// What is published of this connector's lists.
    virtual qxm::WorkRecord Record() const QX_REQUIRES(m_lock) = 0;

    /// Whether a pass of the starter could do anything as the lists are now.
    virtual bool HasWorkForStarter() const QX_REQUIRES(m_lock) = 0;

    /// Whom a publication of the lists has to wake. This connector's starter is spared passes over nothing, which would
    /// be most of those that a single call causes.
    LocalComputer::Wake WhomToWake() const QX_REQUIRES(m_lock)
    {
        return HasWorkForStarter() ? LocalComputer::Wake::All : LocalComputer::Wake::Others;
    }

    void WaitForStarterEvent() final;

    /// Survives a table that is not to be had: while calls wait there is another pass within a second.
    void StartPendingCalls() final QX_REQUIRES(m_lock);
    void PublishChange() final QX_REQUIRES(m_lock);
    void PublishChangeLater() noexcept final QX_REQUIRES(m_lock);

    CallList m_runningLocally QX_GUARDED_BY(m_lock);

private:
    /// The next call of the walk that is admitted, moved to the running ones and published as such; null at the end.
    /// When it cannot be published the call fails, and so does the pass.
    ServiceCallBase* AdmitNext(PendingQueue::Walk& walk) QX_REQUIRES(m_lock);

    const std::unique_ptr<LocalComputer> m_computer;
    const std::unique_ptr<ICallExecutor> m_executor;
};

} // namespace QxClient
