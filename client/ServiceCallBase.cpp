#include "client/ServiceCallBase.h"

#include "client/ServiceConnectorBase.h"
#include "protocol/ServiceRequestAttributes.h"
#include "runtime/text/Errors.h"

#include <cassert>
#include <qxmi/IServiceRequestW.h>
#include <utility>

namespace QxClient
{

namespace
{

/// What the application's own notifications throw concerns nobody else.
template <class Notification>
void Quietly(Notification notify) noexcept
{
    try
    {
        notify();
    }
    catch (...)
    {
    }
}

constinit thread_local const ServiceCallBase* calledBack = nullptr;

/// While it lives, the current thread is inside the request of that call.
class RequestScope
{
public:
    explicit RequestScope(const ServiceCallBase& call) noexcept
        : m_outer(std::exchange(calledBack, &call))
    {
    }
    ~RequestScope() { calledBack = m_outer; }
    RequestScope(const RequestScope&) = delete;
    RequestScope& operator=(const RequestScope&) = delete;

private:
    const ServiceCallBase* const m_outer;
};

} // namespace

ServiceCallBase::ServiceCallBase(ServiceConnectorBase& connector, qxmi::IServiceRequestW& request)
    : m_connector(connector)
    , m_request(request)
{
    m_request.GetServiceName(m_serviceName);
    std::map<std::wstring, std::wstring> attributes;
    m_request.GetServiceRequestAttributes(attributes);
    m_attributes = qxm::CheckedAttributes(attributes); // wherever the call will run
    m_connector.AddRef();
}

ServiceCallBase::~ServiceCallBase()
{
    m_connector.Release();
}

void ServiceCallBase::Destroy()
{
    assert(calledBack != this && "a call cannot be destroyed by its own request, which it would wait for");
    m_connector.Dispose(*this);
}

void ServiceCallBase::Cancel()
{
    m_connector.Cancel(*this);
}

void ServiceCallBase::Wait()
{
    m_connector.WaitFor(*this);
}

void ServiceCallBase::Run()
{
    const qpr::NonInterruptibleSection section; // a call is stopped by its cancellation alone
    bool interrupted = false;
    try
    {
        m_life.GetCancellation().AdoptCurrentThread();
        CarryOut(m_place);
    }
    catch (const qpr::InterruptException&) // the way out of a cancelled call
    {
        interrupted = true;
    }
    catch (...)
    {
        ReportError(std::current_exception());
    }
    m_connector.Finish(*this, interrupted);
}

void ServiceCallBase::HandleError(const std::exception&)
{
    // Run lets nothing out.
}

void ServiceCallBase::Execute(qxmi::IServiceConnectionW& connection)
{
    const RequestScope scope(*this);
    m_request.Execute(connection);
}

void ServiceCallBase::ReportError(std::exception_ptr error) noexcept
{
    m_connector.ReportError(*this, std::move(error));
}

std::wostream& ServiceCallBase::Log()
{
    if (!m_log)
        m_log = std::make_unique<RequestLog>(m_request);
    return m_log->Stream();
}

void ServiceCallBase::FlushAndDropLog()
{
    if (m_log)
        m_log->Stream().flush();
    m_log.reset();
}

void ServiceCallBase::NotifyRequest() noexcept
{
    const RequestScope scope(*this);
    Quietly([this] { FlushAndDropLog(); });
    if (m_life.GetOutcome() == CallLife::Outcome::Cancelled)
        Quietly([this] { m_request.OnCancelled(); });
    if (m_life.GetOutcome() == CallLife::Outcome::Failed)
        NotifyRequestOfError();
}

void ServiceCallBase::NotifyRequestOfError() noexcept
{
    try
    {
        std::rethrow_exception(m_life.Error());
    }
    catch (const std::exception& error)
    {
        Quietly([&] { m_request.OnError(error); });
    }
    catch (...)
    {
        Quietly(
            [this] {
                m_request.OnError(qpr::RuntimeError(L"The service request threw something that is no std::exception"));
            });
    }
}

} // namespace QxClient
