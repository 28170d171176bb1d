#include "tools/qx/ServiceRequest.h"

#include <qxmi/IServiceCall.h>

namespace qx
{

ServiceRequest::ServiceRequest(std::wstring serviceName, Attributes attributes)
    : m_serviceName(std::move(serviceName))
    , m_attributes(std::move(attributes))
{
}

void ServiceRequest::OnError(const std::exception& error)
{
    if (m_outcome != Outcome::Failed) // how the servant ended says more than what its connection did
        Fail(error.what());
}

void ServiceRequest::Fail(std::string errorText)
{
    m_errorText = std::move(errorText);
    m_outcome = Outcome::Failed;
}

CallWaiter::CallWaiter(qxmi::IServiceCall& call, std::function<void()> onEnded)
    : m_call(call)
    , m_onEnded(std::move(onEnded))
    , m_thread(*this, "qx wait")
{
}

CallWaiter::~CallWaiter()
{
    m_call.Cancel();
}

void CallWaiter::Run()
{
    m_call.Wait();
    m_onEnded();
}

} // namespace qx
