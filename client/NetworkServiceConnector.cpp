#include "client/NetworkServiceConnector.h"

#include "client/ICallExecutor.h"

#include <utility>

namespace QxClient
{

NetworkServiceCall::NetworkServiceCall(
    NetworkServiceConnector& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor)
    : ServiceCallBase(connector, request)
    , m_connector(connector)
    , m_executor(executor)
{
}

void NetworkServiceCall::CarryOut()
{
    const auto execution = m_executor.PrepareNetwork(*this, std::nullopt);
    execution->WaitUntilReady();
    m_connector.OnServantAssigned(*this);
    execution->CarryOut();
}

NetworkServiceConnector::NetworkServiceConnector(
    const qxm::ServiceConnectorSettings& settings, std::unique_ptr<ICallExecutor> executor)
    : ServiceConnectorBase(settings)
    , m_executor(std::move(executor))
    , m_starterEvent(qpr::ThreadEvent::Kind_AutoReset)
{
    StartStarter();
}

NetworkServiceConnector::~NetworkServiceConnector()
{
    StopStarter();
}

qxmi::IServiceCall* NetworkServiceConnector::CreateServiceCall(qxmi::IServiceRequestW& request)
{
    return Enqueue(std::make_unique<NetworkServiceCall>(*this, request, *m_executor));
}

void NetworkServiceConnector::HandleError(const std::exception& error)
{
    ReportStarterDeath("NetworkServiceConnector", error);
}

void NetworkServiceConnector::WaitForStarterEvent()
{
    m_starterEvent.Wait();
}

void NetworkServiceConnector::StartPendingCalls()
{
    if (m_waiting || IsRunningLimitReached(m_running.Count()))
        return;
    PendingQueue::Walk walk(m_queue);
    while (ServiceCallBase* call = walk.Next([](const CallNeeds&) { return true; }))
    {
        Unqueue(*call);
        if (Start(*call))
        {
            m_waiting = call;
            PublishChange();
            return;
        }
    }
}

void NetworkServiceConnector::OnServantAssigned(ServiceCallBase& call)
{
    qpr::ScopedLock lock(m_lock);
    MoveTo(m_running, call);
    m_waiting = nullptr;
    PublishChange();
}

/// Nobody else hears of this connector's calls: a change matters when it lets the starter start one.
void NetworkServiceConnector::PublishChange()
{
    PublishChangeLater();
}

void NetworkServiceConnector::PublishChangeLater() noexcept
{
    if (!m_waiting && !m_queue.IsEmpty())
        m_starterEvent.Signal();
}

bool NetworkServiceConnector::Leave(ServiceCallBase& call)
{
    Unlink(call);
    if (m_waiting == &call)
        m_waiting = nullptr;
    PublishChangeLater();
    return true;
}

} // namespace QxClient
