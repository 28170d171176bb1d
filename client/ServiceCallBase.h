#pragma once

#include "client/CallLife.h"
#include "client/CallList.h"
#include "client/CallNeeds.h"
#include "client/InterfaceObject.h"
#include "client/PendingQueue.h"
#include "client/RequestLog.h"
#include "protocol/ICallContext.h"
#include "runtime/threads/IRunnable.h"

#include <exception>
#include <map>
#include <memory>
#include <qxmi/IServiceCall.h>
#include <qxmi/IServiceRequestW.h>
#include <string>

namespace QxClient
{

class ServiceConnectorBase;

/// Where a call is carried out.
enum class CallPlace
{
    Here, ///< on this computer
    Network,
};

/// What all calls have in common: the reference to their connector, the request, the log and the life, which is the
/// connector's to change and guarded by its lock. CarryOut and the conversation use the call on the call's own thread.
class ServiceCallBase : public InterfaceObject<qxmi::IServiceCall>, public qpr::IRunnable, public qxm::ICallContext
{
public:
    /// Takes a reference to the connector and asks the request for its service name and attributes; what they throw
    /// passes. Throws for attributes that a request line cannot carry.
    ServiceCallBase(ServiceConnectorBase& connector, qxmi::IServiceRequestW& request);
    ~ServiceCallBase() override;

    void Cancel() final;
    void Wait() final;

    /// The thread's body: carries the call out and finishes it in its connector.
    void Run() final;
    void HandleError(const std::exception& error) final;

    const std::wstring& ServiceName() const final { return m_serviceName; }
    const std::map<std::wstring, std::wstring>& Attributes() const final { return m_attributes; }
    const qpr::Cancellation& GetCancellation() const final { return m_life.GetCancellation(); }
    void Execute(qxmi::IServiceConnectionW& connection) final;
    void ReportError(std::exception_ptr error) noexcept final;
    std::wostream& Log() final;

    // For the connector, under its lock.

    /// What the scheduler has to know of the call. It does not change while the call is queued.
    virtual CallNeeds Needs() const = 0;

    /// To be given before the call is started.
    void SetPlace(CallPlace place) noexcept { m_place = place; }

    const ServiceConnectorBase& Connector() const noexcept { return m_connector; }
    CallLife& Life() noexcept { return m_life; }
    PendingQueue::Place& QueuePlace() noexcept { return m_queuePlace; }
    CallList::Place& ListPlace() noexcept { return m_listPlace; }

    /// Passes on the rest of the log, then the notification that belongs to the outcome. Also without the lock, on the
    /// call's own thread.
    void NotifyRequest() noexcept;

protected:
    /// Carries the call out on the call's thread. Returning is success unless an error was reported.
    virtual void CarryOut(CallPlace place) = 0;

    /// Passes on what the log holds and lets go of its buffer.
    void FlushAndDropLog();

private:
    void Destroy() final;
    void NotifyRequestOfError() noexcept;

    ServiceConnectorBase& m_connector; // kept alive by this call's reference
    qxmi::IServiceRequestW& m_request; // not owned: lives until the call has ended
    std::wstring m_serviceName;
    std::map<std::wstring, std::wstring> m_attributes;
    std::unique_ptr<RequestLog> m_log;

    // Guarded by the connector's lock.
    CallLife m_life;
    CallPlace m_place = CallPlace::Here; // unchanged while the call is started
    PendingQueue::Place m_queuePlace;
    CallList::Place m_listPlace;
};

} // namespace QxClient
