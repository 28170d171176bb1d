#pragma once

#include "client/CallScheduler.h"
#include "client/ICallExecutor.h"
#include "client/InterfaceObject.h"
#include "client/LocalComputer.h"
#include "client/ServiceCallBase.h"
#include "config/ConnectorSettings.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/ThreadEvent.h"

#include <qxmi/IServiceConnectorW.h>

#include <memory>
#include <vector>

namespace QxClient
{

/// A connector: the lock and the starter thread, and the ways in which calls are queued, started, cancelled, waited for
/// and ended. Which call starts where is the scheduler's to say. The three kinds of connector differ in the calls that
/// they make, and in whether there is a computer to run them on.
class ServiceConnectorBase : public InterfaceObject<qxmi::IServiceConnectorW>
{
public:
    ~ServiceConnectorBase() override;

    void CancelServiceCalls(const std::vector<qxmi::IServiceCall*>& calls) final;

    // For the calls, on any thread.

    void Cancel(ServiceCallBase& call) QX_EXCLUDES(m_lock);
    void WaitFor(ServiceCallBase& call) QX_EXCLUDES(m_lock);
    void ReportError(ServiceCallBase& call, std::exception_ptr error) noexcept QX_EXCLUDES(m_lock);

    /// Ends what is left of a call whose last reference is gone, and destroys it.
    void Dispose(ServiceCallBase& call) QX_EXCLUDES(m_lock);

    // For a started call, on its thread.

    void OnServantAssigned(ServiceCallBase& call) QX_EXCLUDES(m_lock);
    void OnSwitched() QX_EXCLUDES(m_lock);

    /// Signalled when the call that waits for a servant is to come back to this computer.
    qpr::WaitObject SwitchObject() const noexcept { return m_switchObject; }

    /// Changes what the call says of its needs.
    template <class Change>
    void ChangeNeeds(Change change) QX_EXCLUDES(m_lock)
    {
        qpr::ScopedLock lock(m_lock);
        change();
    }

    /// The call was carried out or interrupted. It may be destroyed right after.
    void Finish(ServiceCallBase& call, bool interrupted) QX_EXCLUDES(m_lock);

protected:
    /// Starts the starter. The name is the class's, for the line of a starter that dies; without a computer there is
    /// only the network.
    ServiceConnectorBase(const char* name, const qxm::ServiceConnectorSettings& settings,
        std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor);

    LocalComputer& Computer() const noexcept { return *m_computer; }
    ICallExecutor& Executor() const noexcept { return *m_executor; }

    /// Queues a new call and returns it with one reference. A call that cannot be queued and told about is destroyed.
    qxmi::IServiceCall* Enqueue(std::unique_ptr<ServiceCallBase> call) QX_EXCLUDES(m_lock);

private:
    /// The starter thread: makes a pass whenever something has changed, for the connector's life.
    class Starter final : public qpr::IRunnable
    {
    public:
        explicit Starter(ServiceConnectorBase& connector)
            : m_connector(connector)
        {
        }

    private:
        void Run() override;
        void HandleError(const std::exception& error) override;

        ServiceConnectorBase& m_connector; // whose member this is
    };

    void WaitForChange();

    /// Starts one call at most: publishing it wakes the starter for the next.
    void MakePass() QX_REQUIRES(m_lock);

    /// False when the call's thread could not be created, and the call has failed.
    bool Start(ServiceCallBase& call, CallPlace place) QX_REQUIRES(m_lock);

    /// Ends a call that could not be started.
    void Fail(ServiceCallBase& call, std::exception_ptr error) QX_REQUIRES(m_lock);

    /// A queued call leaves the queue; a started one is asked to stop. True when the queue changed.
    bool CancelLocked(ServiceCallBase& call) QX_REQUIRES(m_lock);

    /// Takes a started call out of its list. False when it went back into the queue instead, since the network failed
    /// it and it can run here.
    bool Leave(ServiceCallBase& call) QX_REQUIRES(m_lock);

    /// Ends a call that has no thread.
    static void Conclude(ServiceCallBase& call);

    /// Checks that the calls are this connector's.
    std::vector<ServiceCallBase*> OwnCalls(const std::vector<qxmi::IServiceCall*>& calls);

    qpr::Mutex m_lock;
    const char* const m_name;
    const std::unique_ptr<ICallExecutor> m_executor;
    const std::unique_ptr<LocalComputer> m_computer; // null: only the network
    qpr::ThreadEvent m_starterEvent; // of a connector without a computer
    CallScheduler m_scheduler QX_GUARDED_BY(m_lock);
    const qpr::WaitObject m_switchObject; // the scheduler's

    /// Of the call that ended last. A thread cannot wait for its own end, so the next one that ends does, or the
    /// connector: threads do not pile up however long the application keeps its calls.
    std::unique_ptr<qpr::Thread> m_endedThread QX_GUARDED_BY(m_lock);

    Starter m_starter;
    qpr::Thread m_starterThread; // last: it ends before what it uses
};

} // namespace QxClient
