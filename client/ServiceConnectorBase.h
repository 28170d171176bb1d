#pragma once

#include "client/CallList.h"
#include "client/InterfaceObject.h"
#include "client/PendingQueue.h"
#include "client/ServiceCallBase.h"
#include "config/ConnectorSettings.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Thread.h"
#include "worktable/WorkSum.h"

#include <qxmi/IServiceConnectorW.h>

#include <memory>
#include <string_view>
#include <vector>

namespace QxClient
{

/// What the three connectors have in common: the queue, the lock, the starter thread, the running-call limit, and the
/// ways in which calls are started, cancelled, waited for and ended. A connector class adds its rule: which queued call
/// to start where, and whom to tell when its lists change.
class ServiceConnectorBase : public InterfaceObject<qxmi::IServiceConnectorW>, public qpr::IRunnable
{
public:
    explicit ServiceConnectorBase(const qxm::ServiceConnectorSettings& settings);
    ~ServiceConnectorBase() override;

    void CancelServiceCalls(const std::vector<qxmi::IServiceCall*>& calls) final;

    /// The starter thread's body: waits for the starter event and makes one pass each time, for the connector's life.
    void Run() final;

    // For the calls, on any thread.
    void Cancel(ServiceCallBase& call) QX_EXCLUDES(m_lock);
    void WaitFor(ServiceCallBase& call) QX_EXCLUDES(m_lock);
    void ReportError(ServiceCallBase& call, std::exception_ptr error) noexcept QX_EXCLUDES(m_lock);

    /// Ends what is left of a call whose last reference is gone, and destroys it.
    void Dispose(ServiceCallBase& call) QX_EXCLUDES(m_lock);

    /// On the call's thread, when it has carried the call out or was interrupted. The call may be destroyed right
    /// after.
    void Finish(ServiceCallBase& call, bool interrupted) QX_EXCLUDES(m_lock);

protected:
    /// The derived class's constructor ends with the first and its destructor begins with the second.
    void StartStarter();
    void StopStarter();

    /// Queues a new call and returns it with one reference. A call that cannot be queued and told about is destroyed.
    qxmi::IServiceCall* Enqueue(std::unique_ptr<ServiceCallBase> call) QX_EXCLUDES(m_lock);

    /// Starts the thread of a call that is in no queue any more. False when that failed, and the call with it.
    bool Start(ServiceCallBase& call) QX_REQUIRES(m_lock);

    /// Ends a call that could not be started and takes it out of its list.
    void Fail(ServiceCallBase& call, std::exception_ptr error) QX_REQUIRES(m_lock);

    /// Moves a call between the queue and the lists.
    void Append(ServiceCallBase& call) QX_REQUIRES(m_lock);
    void Unqueue(ServiceCallBase& call) QX_REQUIRES(m_lock);
    static void MoveTo(CallList& list, ServiceCallBase& call);
    static void Unlink(ServiceCallBase& call);
    static bool IsIn(const CallList& list, ServiceCallBase& call);

    /// What calls use together, in their order; and what the queued calls that can run on this computer would.
    static qxm::Work SumOf(const CallList& calls);
    qxm::Work PendingWork() const QX_REQUIRES(m_lock);

    bool IsRunningLimitReached(std::size_t running) const noexcept;

    /// The one line on the standard error stream of a starter thread that died.
    static void ReportStarterDeath(std::string_view connector, const std::exception& error) noexcept;

    // The rule of a connector.

    /// Waits for the starter event without time limit.
    virtual void WaitForStarterEvent() = 0;

    /// One pass over the queue.
    virtual void StartPendingCalls() QX_REQUIRES(m_lock) = 0;

    /// The queue or a list has changed: wakes who has to look.
    virtual void PublishChange() QX_REQUIRES(m_lock) = 0;

    /// The same where nothing may fail: what cannot be published now is made up for later.
    virtual void PublishChangeLater() noexcept QX_REQUIRES(m_lock) = 0;

    /// Takes a started call out of the connector's lists. False when it went back into the queue instead.
    virtual bool Leave(ServiceCallBase& call) QX_REQUIRES(m_lock) = 0;

    qpr::Mutex m_lock;
    PendingQueue m_queue QX_GUARDED_BY(m_lock);

private:
    /// A queued call leaves the queue; a started one is asked to stop. True when the queue changed.
    bool CancelLocked(ServiceCallBase& call) QX_REQUIRES(m_lock);
    bool LeaveOrFail(ServiceCallBase& call) QX_REQUIRES(m_lock);

    /// Ends a call that has no thread.
    static void Conclude(ServiceCallBase& call);

    /// Checks that the calls are this connector's.
    std::vector<ServiceCallBase*> OwnCalls(const std::vector<qxmi::IServiceCall*>& calls);

    qxm::ServiceConnectorSettings m_settings;
    std::unique_ptr<qpr::Thread> m_starter;

    /// Of the call that ended last. A thread cannot wait for its own end, so the next one that ends does, or the
    /// connector: threads do not pile up however long the application keeps its calls.
    std::unique_ptr<qpr::Thread> m_endedThread QX_GUARDED_BY(m_lock);
};

} // namespace QxClient
