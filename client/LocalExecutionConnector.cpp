#include "client/LocalExecutionConnector.h"

#include <utility>

namespace QxClient
{

LocalExecutionConnector::LocalExecutionConnector(const qxm::ServiceConnectorSettings& settings,
    qxm::HostDescription host, std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor)
    : ServiceConnectorBase(settings, std::move(host))
    , m_computer(std::move(computer))
    , m_executor(std::move(executor))
{
}

LocalExecutionConnector::~LocalExecutionConnector() = default;

bool LocalExecutionConnector::StartOneLocally()
{
    if (m_queue.IsEmpty())
        return false;
    PendingQueue::Walk walk(m_queue);
    while (ServiceCallBase* call = AdmitNext(walk))
    {
        if (Start(*call))
            return true;
        Unlink(*call);
        PublishChange();
    }
    return false;
}

ServiceCallBase* LocalExecutionConnector::AdmitNext(PendingQueue::Walk& walk)
{
    LocalComputer::AdmissionPeriod period(*m_computer);
    const std::size_t running = m_runningLocally.Count();
    ServiceCallBase* const call =
        walk.Next([&](const CallNeeds& needs) { return needs.canRunLocally && period.Admits(needs, running); });
    if (!call)
        return nullptr;
    Unqueue(*call);
    MoveTo(m_runningLocally, *call);
    const qxm::WorkRecord record = Record();
    const auto wake = WhomToWake();
    PublishStart(*call, [&] { period.Publish(record, wake); });
    return call;
}

void LocalExecutionConnector::WaitForStarterEvent()
{
    m_computer->WaitForChange();
}

void LocalExecutionConnector::PublishChange()
{
    m_computer->Publish(Record(), WhomToWake());
}

void LocalExecutionConnector::PublishChangeLater() noexcept
{
    m_computer->PublishLater(Record(), WhomToWake());
}

} // namespace QxClient
