#include "client/ServiceConnectors.h"

#include "client/ServiceCalls.h"

#include <utility>

namespace QxClient
{

LocalServiceConnector::LocalServiceConnector(const qxm::ServiceConnectorSettings& settings,
    std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor)
    : ServiceConnectorBase("LocalServiceConnector", settings, std::move(computer), std::move(executor))
{
}

qxmi::IServiceCall* LocalServiceConnector::CreateServiceCall(qxmi::IServiceRequestW& request)
{
    auto call = std::make_unique<LocalServiceCall>(*this, request, Executor());
    if (const qxm::LocalServiceInfo* service = Computer().FindService(call->ServiceName()))
        call->SetService(*service, Computer().ComputeUsage(*service, call->Attributes()));
    return Enqueue(std::move(call));
}

NetworkServiceConnector::NetworkServiceConnector(
    const qxm::ServiceConnectorSettings& settings, std::unique_ptr<ICallExecutor> executor)
    : ServiceConnectorBase("NetworkServiceConnector", settings, nullptr, std::move(executor))
{
}

qxmi::IServiceCall* NetworkServiceConnector::CreateServiceCall(qxmi::IServiceRequestW& request)
{
    return Enqueue(std::make_unique<NetworkServiceCall>(*this, request, Executor()));
}

HybridServiceConnector::HybridServiceConnector(const qxm::ServiceConnectorSettings& settings,
    std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor)
    : ServiceConnectorBase("HybridServiceConnector", settings, std::move(computer), std::move(executor))
{
}

qxmi::IServiceCall* HybridServiceConnector::CreateServiceCall(qxmi::IServiceRequestW& request)
{
    auto call = std::make_unique<HybridServiceCall>(*this, request, Executor());
    if (const qxm::LocalServiceInfo* service = Computer().FindService(call->ServiceName()))
        call->SetService(*service, Computer().ComputeUsage(*service, call->Attributes()), Computer().Limits());
    else
        call->LogDecision(L"Service not available locally. Call will be executed on network.");
    return Enqueue(std::move(call));
}

} // namespace QxClient
