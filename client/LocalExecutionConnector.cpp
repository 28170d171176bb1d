#include "client/LocalExecutionConnector.h"

#include <utility>

namespace QxClient
{

LocalExecutionConnector::LocalExecutionConnector(const qxm::ServiceConnectorSettings& settings,
    std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor)
    : ServiceConnectorBase(settings)
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
        PublishChangeLater();
    }
    return false;
}

ServiceCallBase* LocalExecutionConnector::AdmitNext(PendingQueue::Walk& walk)
{
    ServiceCallBase* admitted = nullptr;
    try
    {
        LocalComputer::AdmissionPeriod period(*m_computer);
        const std::size_t running = m_runningLocally.Count();
        ServiceCallBase* const call =
            walk.Next([&](const CallNeeds& needs) { return needs.canRunLocally && period.Admits(needs, running); });
        if (!call)
            return nullptr;
        MoveTo(m_runningLocally, *call); // for want of memory the call stays queued
        Unqueue(*call);
        admitted = call;
        period.Publish(Record(), WhomToWake());
    }
    catch (const std::exception&) // told when the table is free again: a notification may take its time
    {
        if (admitted)
            Fail(*admitted, std::current_exception());
        throw;
    }
    return admitted;
}

void LocalExecutionConnector::StartPendingCalls()
{
    try
    {
        MakePass();
    }
    catch (const qxm::WorkTableCorruption&)
    {
        throw;
    }
    catch (const std::exception&)
    {
    }
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
