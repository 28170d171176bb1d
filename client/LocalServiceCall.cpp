#include "client/LocalServiceCall.h"

#include "client/ICallExecutor.h"
#include "runtime/Errors.h"

namespace QxClient
{

LocalServiceCall::LocalServiceCall(
    ServiceConnectorBase& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor)
    : ServiceCallBase(connector, request)
    , m_executor(executor)
{
}

void LocalServiceCall::SetService(const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage)
{
    m_service = &service;
    m_usage = usage;
}

void LocalServiceCall::CarryOut()
{
    if (!m_service)
        throw qpr::RuntimeError(L"Service '" + ServiceName() + L"' not available on local computer");
    m_executor.RunLocally(*this, *m_service, m_usage);
}

} // namespace QxClient
