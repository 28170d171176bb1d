#include "client/LocalServiceConnector.h"

#include "client/ICallExecutor.h"
#include "runtime/text/Errors.h"

#include <utility>

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

LocalServiceConnector::LocalServiceConnector(const qxm::ServiceConnectorSettings& settings,
    std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor)
    : LocalExecutionConnector(settings, std::move(computer), std::move(executor))
{
    StartStarter();
}

LocalServiceConnector::~LocalServiceConnector()
{
    StopStarter();
}

qxmi::IServiceCall* LocalServiceConnector::CreateServiceCall(qxmi::IServiceRequestW& request)
{
    auto call = std::make_unique<LocalServiceCall>(*this, request, Executor());
    if (const qxm::LocalServiceInfo* service = Computer().FindService(call->ServiceName()))
        call->SetService(*service, Computer().ComputeUsage(*service, call->Attributes()));
    return Enqueue(std::move(call));
}

void LocalServiceConnector::HandleError(const std::exception& error)
{
    ReportStarterDeath("LocalServiceConnector", error);
}

void LocalServiceConnector::MakePass()
{
    if (HasWorkForStarter())
        StartOneLocally();
}

bool LocalServiceConnector::Leave(ServiceCallBase& call)
{
    Unlink(call);
    PublishChangeLater();
    return true;
}

qxm::WorkRecord LocalServiceConnector::Record() const
{
    return {SumOf(m_runningLocally), PendingWork()};
}

bool LocalServiceConnector::HasWorkForStarter() const
{
    return !m_queue.IsEmpty() && !IsRunningLimitReached(m_runningLocally.Count());
}

} // namespace QxClient
