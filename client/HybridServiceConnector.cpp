#include "client/HybridServiceConnector.h"

#include "worktable/WorkSum.h"

#include <utility>

namespace QxClient
{

HybridServiceConnector::HybridServiceConnector(const qxm::ServiceConnectorSettings& settings,
    std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor)
    : LocalExecutionConnector(settings, std::move(computer), std::move(executor))
    , m_switchEvent(qpr::ThreadEvent::Kind_ManualReset)
{
    StartStarter();
}

HybridServiceConnector::~HybridServiceConnector()
{
    StopStarter();
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

void HybridServiceConnector::HandleError(const std::exception& error)
{
    ReportStarterDeath("HybridServiceConnector", error);
}

void HybridServiceConnector::MakePass()
{
    if (!IsRunningLimitReached(ActiveCount()))
    {
        if (StartOneLocally())
            return;
        if (!m_waiting && StartOneOnNetwork())
            return;
    }
    SwitchWaitingCallIfAdmitted();
}

bool HybridServiceConnector::StartOneOnNetwork()
{
    PendingQueue::Walk walk(m_queue);
    while (ServiceCallBase* next = walk.Next([](const CallNeeds& needs) { return needs.mayGoToNetwork; }))
    {
        auto& call = static_cast<HybridServiceCall&>(*next);
        Unqueue(call);
        call.SetMode(HybridServiceCall::Mode::Network);
        if (Start(call))
        {
            m_waiting = &call;
            PublishChangeLater();
            return true;
        }
        PublishChangeLater();
    }
    return false;
}

void HybridServiceConnector::SwitchWaitingCallIfAdmitted()
{
    if (!m_waiting || IsSwitching() || !m_waiting->CanRunLocally())
        return;
    LocalComputer::AdmissionPeriod period(Computer());
    if (!period.Admits(m_waiting->Needs(), m_runningLocally.Count()))
        return;
    MoveTo(m_runningLocally, *m_waiting);
    try
    {
        period.Publish(Record(), WhomToWake());
    }
    catch (...)
    {
        Unlink(*m_waiting); // it goes on waiting
        throw;
    }
    m_switchEvent.Signal();
}

bool HybridServiceConnector::IsSwitching() const
{
    return m_waiting && IsIn(m_runningLocally, *m_waiting);
}

void HybridServiceConnector::EndWaiting()
{
    m_switchEvent.Clear();
    m_waiting = nullptr;
}

void HybridServiceConnector::OnSwitched()
{
    qpr::ScopedLock lock(m_lock);
    EndWaiting(); // it has its place here since it was admitted
    PublishChangeLater();
}

void HybridServiceConnector::OnServantAssigned(HybridServiceCall& call)
{
    qpr::ScopedLock lock(m_lock);
    MoveTo(m_runningOnNetwork, call);
    EndWaiting();
    PublishChangeLater();
}

void HybridServiceConnector::OnNetworkStartFailed(HybridServiceCall& call)
{
    qpr::ScopedLock lock(m_lock);
    call.SetFailedOnNetwork();
}

bool HybridServiceConnector::Leave(ServiceCallBase& call)
{
    auto& hybrid = static_cast<HybridServiceCall&>(call);
    const bool wasWaiting = m_waiting == &call;
    Unlink(call);
    if (wasWaiting)
        EndWaiting();
    const bool goesBack = wasWaiting && hybrid.HasFailedOnNetwork() && !call.Life().IsCancelRequested();
    if (goesBack)
    {
        hybrid.SetMode(HybridServiceCall::Mode::Local);
        Append(call);
    }
    PublishChangeLater();
    return !goesBack;
}

std::size_t HybridServiceConnector::ActiveCount() const
{
    return m_runningLocally.Count() + m_runningOnNetwork.Count() + (m_waiting && !IsSwitching() ? 1 : 0);
}

qxm::WorkRecord HybridServiceConnector::Record() const
{
    qxm::WorkRecord record{SumOf(m_runningLocally), PendingWork()};
    if (m_waiting && !IsSwitching() && m_waiting->CanRunLocally())
    {
        const CallNeeds needs = m_waiting->Needs();
        ++record.pending.jobs;
        record.pending.processors = qxm::SaneAmount(record.pending.processors + needs.processors);
        record.pending.memoryInMB = qxm::SaneAmount(record.pending.memoryInMB + needs.memoryInMB);
    }
    return record;
}

bool HybridServiceConnector::HasWorkForStarter() const
{
    return m_waiting || (!m_queue.IsEmpty() && !IsRunningLimitReached(ActiveCount()));
}

} // namespace QxClient
