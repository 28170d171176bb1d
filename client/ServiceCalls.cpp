#include "client/ServiceCalls.h"

#include "client/ICallExecutor.h"
#include "client/ServiceConnectorBase.h"
#include "runtime/text/Errors.h"
#include "worktable/WorkSum.h"

#include <string>

namespace QxClient
{

namespace
{

/// The first limit that the call is beyond, as its log says it; empty when it is within all of them.
std::wstring_view LimitExceeded(const qxm::ExpectedUsage& usage, const qxm::LocalLimits& limits)
{
    if (usage.processors > limits.processors)
        return L"Expected processor usage exceeds local processor usage limit.";
    if (usage.memoryInMB > limits.memoryInMB)
        return L"Expected memory usage exceeds local memory usage limit.";
    if (usage.addressSpaceExcessInMB > 0)
        return L"Expected memory usage exceeds locally available address space.";
    return {};
}

} // namespace

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

CallNeeds LocalServiceCall::Needs() const
{
    return {qxm::SaneAmount(m_usage.processors), qxm::SaneAmount(m_usage.memoryInMB)};
}

void LocalServiceCall::CarryOut(CallPlace)
{
    if (!m_service)
        throw qpr::RuntimeError(L"Service '" + ServiceName() + L"' not available on local computer");
    m_executor.RunLocally(*this, *m_service, m_usage);
}

NetworkServiceCall::NetworkServiceCall(
    ServiceConnectorBase& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor)
    : ServiceCallBase(connector, request)
    , m_connector(connector)
    , m_executor(executor)
{
}

void NetworkServiceCall::CarryOut(CallPlace)
{
    m_executor.RunOnNetwork(*this, std::nullopt, [this] { m_connector.OnServantAssigned(*this); });
}

HybridServiceCall::HybridServiceCall(
    ServiceConnectorBase& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor)
    : ServiceCallBase(connector, request)
    , m_connector(connector)
    , m_executor(executor)
{
}

void HybridServiceCall::SetService(
    const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage, const qxm::LocalLimits& limits)
{
    m_service = &service;
    m_usage = usage;
    const std::wstring_view exceeded = LimitExceeded(usage, limits);
    m_fitsLocally = exceeded.empty();
    if (!m_fitsLocally)
        LogDecision(std::wstring(exceeded) + L" Attempting to execute call on network first.");
}

void HybridServiceCall::LogDecision(std::wstring_view text)
{
    // Carriage return and line feed on every system: the line's own end comes on top of the text's.
    Log() << L"[HybridServiceConnector] " << text << L'\r' << std::endl;
    FlushAndDropLog();
}

CallNeeds HybridServiceCall::Needs() const
{
    return {qxm::SaneAmount(m_usage.processors), qxm::SaneAmount(m_usage.memoryInMB),
        m_service && (m_fitsLocally || m_hasFailedOnNetwork), !m_hasFailedOnNetwork};
}

void HybridServiceCall::CarryOut(CallPlace place)
{
    if (place == CallPlace::Network && RunOnNetwork())
        return;
    m_executor.RunLocally(*this, *m_service, m_usage);
}

bool HybridServiceCall::RunOnNetwork()
{
    bool isAssigned = false;
    try
    {
        const auto onServantAssigned = [&]
        {
            isAssigned = true;
            m_connector.OnServantAssigned(*this);
        };
        if (m_executor.RunOnNetwork(*this, GiveUpObject(), onServantAssigned))
            return true;
    }
    catch (const std::exception& error)
    {
        if (isAssigned || !m_service)
            throw;
        FallBackToLocal(error);
        return true;
    }
    LogDecision(L"Switching waiting network call to local mode.");
    m_connector.OnSwitched();
    return false;
}

std::optional<qpr::WaitObject> HybridServiceCall::GiveUpObject() const
{
    return m_service ? std::optional(m_connector.SwitchObject()) : std::nullopt;
}

/// The call's thread ends after this; finishing the call queues it again.
void HybridServiceCall::FallBackToLocal(const std::exception& error)
{
    LogDecision(L"Failed to start call on network: " + qpr::ErrorText(error) + L". Call will be executed locally.");
    m_connector.ChangeNeeds([this] { m_hasFailedOnNetwork = true; }); // last: nothing may fail once it is to go back
}

} // namespace QxClient
