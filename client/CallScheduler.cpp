#include "client/CallScheduler.h"

namespace QxClient
{

namespace
{

void Add(qxm::Work& sum, const CallNeeds& needs) noexcept
{
    ++sum.jobs;
    sum.processors = qxm::SaneAmount(sum.processors + needs.processors);
    sum.memoryInMB = qxm::SaneAmount(sum.memoryInMB + needs.memoryInMB);
}

void MoveTo(CallList& list, ServiceCallBase& call)
{
    CallList::Unlink(call.ListPlace());
    list.Append(call, call.ListPlace());
}

} // namespace

CallScheduler::CallScheduler(
    LocalComputer* computer, qpr::ThreadEvent& starterEvent, const qpr::Nullable<std::uint64_t>& maxRunningCalls)
    : m_computer(computer)
    , m_starterEvent(starterEvent)
    , m_maxRunningCalls(maxRunningCalls)
    , m_switchEvent(qpr::ThreadEvent::Kind_ManualReset)
{
}

void CallScheduler::Append(ServiceCallBase& call)
{
    m_queue.Append(call, call.Needs(), call.QueuePlace());
    call.Life().Enqueue();
}

void CallScheduler::Unqueue(ServiceCallBase& call)
{
    m_queue.Remove(call.QueuePlace());
    call.Life().Dequeue();
}

std::optional<CallScheduler::Admission> CallScheduler::AdmitNext()
{
    if (m_queue.IsEmpty() || IsLimitReached())
        return std::nullopt;
    const std::optional<Admission> local = AdmitLocally();
    return local ? local : AdmitOnNetwork();
}

std::optional<CallScheduler::Admission> CallScheduler::AdmitLocally()
{
    if (!m_computer)
        return std::nullopt;
    LocalComputer::AdmissionPeriod period(*m_computer);
    const std::size_t running = m_runningLocally.Count();
    ServiceCallBase* const call =
        m_queue.FindFirst([&](const CallNeeds& needs) { return needs.canRunLocally && period.Admits(needs, running); });
    if (!call)
        return std::nullopt;
    MoveTo(m_runningLocally, *call); // for want of memory the call stays queued
    Unqueue(*call);
    try
    {
        period.Publish(Record(), WhomToWake());
    }
    catch (const std::exception&) // told when the table is free again: a notification may take its time
    {
        return Admission{call, CallPlace::Here, std::current_exception()};
    }
    return Admission{call, CallPlace::Here, nullptr};
}

std::optional<CallScheduler::Admission> CallScheduler::AdmitOnNetwork()
{
    if (m_waiting)
        return std::nullopt;
    ServiceCallBase* const call = m_queue.FindFirst([](const CallNeeds& needs) { return needs.mayGoToNetwork; });
    if (!call)
        return std::nullopt;
    Unqueue(*call);
    m_waiting = call;
    PublishLater();
    return Admission{call, CallPlace::Network, nullptr};
}

void CallScheduler::SwitchWaitingCallIfAdmitted()
{
    if (!MayComeBack())
        return;
    LocalComputer::AdmissionPeriod period(*m_computer);
    if (!period.Admits(m_waiting->Needs(), m_runningLocally.Count()))
        return;
    MoveTo(m_runningLocally, *m_waiting);
    try
    {
        period.Publish(Record(), WhomToWake());
    }
    catch (...)
    {
        CallList::Unlink(m_waiting->ListPlace()); // it goes on waiting
        throw;
    }
    m_switchEvent.Signal();
}

void CallScheduler::OnSwitched()
{
    EndWaiting(); // it has its place here since it was admitted
    PublishLater();
}

void CallScheduler::OnServantAssigned(ServiceCallBase& call)
{
    MoveTo(m_runningOnNetwork, call);
    EndWaiting();
    PublishLater();
}

bool CallScheduler::Remove(ServiceCallBase& call)
{
    CallList::Unlink(call.ListPlace());
    const bool wasWaiting = m_waiting == &call;
    if (wasWaiting)
        EndWaiting();
    return wasWaiting;
}

void CallScheduler::EndWaiting()
{
    m_switchEvent.Clear();
    m_waiting = nullptr;
}

bool CallScheduler::IsSwitching() const
{
    return m_waiting && m_runningLocally.Holds(m_waiting->ListPlace());
}

bool CallScheduler::MayComeBack() const
{
    return m_waiting && !IsSwitching() && m_waiting->Needs().canRunLocally;
}

bool CallScheduler::IsLimitReached() const
{
    const std::size_t waiting = m_waiting && !IsSwitching() ? 1 : 0;
    return !m_maxRunningCalls.IsNull()
        && m_runningLocally.Count() + m_runningOnNetwork.Count() + waiting >= m_maxRunningCalls.Value();
}

bool CallScheduler::HasWorkForStarter() const
{
    const bool canStart = !m_queue.IsEmpty() && !IsLimitReached() && (m_computer || !m_waiting);
    return canStart || MayComeBack();
}

LocalComputer::Wake CallScheduler::WhomToWake() const
{
    return HasWorkForStarter() ? LocalComputer::Wake::All : LocalComputer::Wake::Others;
}

qxm::WorkRecord CallScheduler::Record() const
{
    qxm::WorkRecord record;
    for (const ServiceCallBase* call : m_runningLocally)
        Add(record.active, call->Needs());
    const PendingQueue::LocalSum& queued = m_queue.SumOfLocal();
    record.pending = {queued.calls, qxm::SaneAmount(queued.processors), qxm::SaneAmount(queued.memoryInMB)};
    if (MayComeBack())
        Add(record.pending, m_waiting->Needs());
    return record;
}

void CallScheduler::Publish()
{
    if (m_computer)
        m_computer->Publish(Record(), WhomToWake());
    else if (HasWorkForStarter())
        m_starterEvent.Signal();
}

void CallScheduler::PublishLater() noexcept
{
    if (m_computer)
        m_computer->PublishLater(Record(), WhomToWake());
    else if (HasWorkForStarter())
        m_starterEvent.Signal();
}

} // namespace QxClient
