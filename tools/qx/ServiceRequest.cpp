#include "tools/qx/ServiceRequest.h"

namespace qx
{

ServiceRequest::ServiceRequest(std::wstring serviceName, Attributes attributes)
    : m_serviceName(std::move(serviceName))
    , m_attributes(std::move(attributes))
{
}

void ServiceRequest::OnError(const std::exception& error)
{
    m_errorText = error.what();
    m_outcome = Outcome::Failed;
}

} // namespace qx
