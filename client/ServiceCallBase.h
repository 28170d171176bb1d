#pragma once

#include "client/CallList.h"
#include "client/CallNeeds.h"
#include "client/PendingQueue.h"
#include "client/RequestLog.h"
#include "protocol/ICallContext.h"
#include "runtime/Cancellation.h"
#include "runtime/IRunnable.h"
#include "runtime/Mutex.h"
#include "runtime/ReferenceCounted.h"
#include "runtime/Thread.h"

#include <qxmi/IServiceCall.h>

#include <exception>
#include <map>
#include <memory>
#include <string>

namespace qxmi
{
class IServiceRequestW;
}

namespace QxClient
{

class ServiceConnectorBase;

/// What all calls have in common: the reference to their connector, the request, the log, and the way from queued over
/// started to ended. A call ends in exactly one outcome, chosen under its connector's lock: the first error reported,
/// or cancelled, or done.
///
/// The state is the connector's to change and guarded by the connector's lock; CarryOut and the conversation use the
/// call on the call's own thread.
class ServiceCallBase : public qxmi::IServiceCall,
                        public qpr::ReferenceCounted,
                        public qpr::IRunnable,
                        public qxm::ICallContext
{
public:
    /// Takes a reference to the connector and asks the request for its service name and attributes; what they throw
    /// passes. Throws for attributes that a request line cannot carry.
    ServiceCallBase(ServiceConnectorBase& connector, qxmi::IServiceRequestW& request);
    ~ServiceCallBase() override;

    void AddRef() final;
    void Release() final;
    void Cancel() final;
    void Wait() final;

    /// The thread's body: carries the call out and finishes it in its connector.
    void Run() final;
    void HandleError(const std::exception& error) final;

    const std::wstring& ServiceName() const final { return m_serviceName; }
    const std::map<std::wstring, std::wstring>& Attributes() const final { return m_attributes; }
    const qpr::Cancellation& GetCancellation() const final { return *m_cancellation; }
    void Execute(qxmi::IServiceConnectionW& connection) final;
    void ReportError(std::exception_ptr error) noexcept final;
    std::wostream& Log() final;

    /// What the rules need to know of the call while it is queued.
    virtual CallNeeds Needs() const = 0;

protected:
    /// Carries the call out on the call's thread. Returning is success unless an error was reported.
    virtual void CarryOut() = 0;

    /// Passes on what the log holds and lets go of its buffer.
    void FlushAndDropLog();

private:
    friend class ServiceConnectorBase;

    enum class State
    {
        Created,
        Queued,
        Started,
        Ended,
    };

    enum class Outcome
    {
        Open,
        Done,
        Failed,
        Cancelled,
    };

    /// Passes on the rest of the log, then the notification that belongs to the outcome.
    void NotifyRequest(Outcome outcome) noexcept;
    void NotifyRequestOfError() noexcept;

    ServiceConnectorBase& m_connector; // kept alive by this call's reference
    qxmi::IServiceRequestW& m_request; // not owned: lives until the call has ended
    std::wstring m_serviceName;
    std::map<std::wstring, std::wstring> m_attributes;
    std::unique_ptr<RequestLog> m_log;

    // Guarded by the connector's lock.
    State m_state = State::Created;
    Outcome m_outcome = Outcome::Open;
    bool m_cancelRequested = false;
    std::exception_ptr m_error;
    PendingQueue::Place m_queuePlace;
    CallList::Place m_listPlace;
    qpr::ConditionVariable m_endedChanged;

    // While the call runs: one that is queued or has ended holds no handles.
    std::unique_ptr<qpr::Cancellation> m_cancellation;
    std::unique_ptr<qpr::Thread> m_thread;
};

} // namespace QxClient
