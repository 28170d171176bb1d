#include "client/LocalServiceConnector.h"

#include "client/LocalServiceCall.h"

#include <utility>

namespace QxClient
{

LocalServiceConnector::LocalServiceConnector(const qxm::ServiceConnectorSettings& settings, qxm::HostDescription host,
    std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor)
    : ServiceConnectorBase(settings, std::move(host))
    , m_computer(std::move(computer))
    , m_executor(std::move(executor))
{
    StartStarter();
}

LocalServiceConnector::~LocalServiceConnector()
{
    StopStarter();
}

qxmi::IServiceCall* LocalServiceConnector::CreateServiceCall(qxmi::IServiceRequestW& request)
{
    auto call = std::make_unique<LocalServiceCall>(*this, request, *m_executor);
    if (const qxm::LocalServiceInfo* service = m_computer->FindService(call->ServiceName()))
        call->SetService(*service, m_computer->ComputeUsage(*service, call->Attributes()));
    return Enqueue(std::move(call));
}

void LocalServiceConnector::HandleError(const std::exception& error)
{
    ReportStarterDeath("LocalServiceConnector", error);
}

void LocalServiceConnector::WaitForStarterEvent()
{
    m_computer->WaitForChange();
}

void LocalServiceConnector::StartPendingCalls()
{
    if (m_queue.IsEmpty() || IsRunningLimitReached(m_running.Count()))
        return;
    PendingQueue::Walk walk(m_queue);
    while (ServiceCallBase* call = AdmitNext(walk))
    {
        if (Start(*call))
            return;
        Unlink(*call);
        PublishChange();
    }
}

ServiceCallBase* LocalServiceConnector::AdmitNext(PendingQueue::Walk& walk)
{
    LocalComputer::AdmissionPeriod period(*m_computer);
    const std::size_t running = m_running.Count();
    ServiceCallBase* const call = walk.Next([&](const CallNeeds& needs) { return period.Admits(needs, running); });
    if (!call)
        return nullptr;
    Unqueue(*call);
    MoveTo(m_running, *call);
    PublishStart(*call, [&] { period.Publish(Record()); });
    return call;
}

void LocalServiceConnector::PublishChange()
{
    m_computer->Publish(Record());
}

void LocalServiceConnector::PublishChangeLater() noexcept
{
    m_computer->PublishLater(Record());
}

bool LocalServiceConnector::Leave(ServiceCallBase& call)
{
    Unlink(call);
    PublishChangeLater();
    return true;
}

qxm::WorkRecord LocalServiceConnector::Record() const
{
    return {SumOf(m_running), PendingWork()};
}

} // namespace QxClient
