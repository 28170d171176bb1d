#include "client/ServiceConnectorBase.h"

#include "client/FrameworkLock.h"
#include "runtime/Errors.h"
#include "worktable/WorkSum.h"

#include <iostream>
#include <utility>

namespace QxClient
{

namespace
{

/// Where a waiter looks again by itself.
constexpr std::uint32_t waitSliceMs = 1000;

/// Where a call that waits for another one looks whether it has been cancelled itself.
constexpr std::uint32_t nestedWaitSliceMs = 50;

} // namespace

ServiceConnectorBase::ServiceConnectorBase(const qxm::ServiceConnectorSettings& settings)
    : m_settings(settings)
{
}

ServiceConnectorBase::~ServiceConnectorBase() = default;

void ServiceConnectorBase::AddRef()
{
    qpr::ScopedLock lock(FrameworkLock());
    AddReference();
}

void ServiceConnectorBase::Release()
{
    {
        qpr::ScopedLock lock(FrameworkLock());
        if (!DropReferenceOnly())
            return;
    }
    delete this;
}

void ServiceConnectorBase::StartStarter()
{
    m_starter = std::make_unique<qpr::Thread>(*this, "qx starter");
}

void ServiceConnectorBase::StopStarter()
{
    m_starter.reset();
}

void ServiceConnectorBase::Run()
{
    for (;;)
    {
        WaitForStarterEvent();
        qpr::ScopedLock lock(m_lock);
        StartPendingCalls();
    }
}

void ServiceConnectorBase::ReportStarterDeath(std::string_view connector, const std::exception& error) noexcept
{
    try
    {
        std::cerr << "[QxClient::" << connector
                  << "::HandleError] Pending call starter thread terminated prematurely: " << error.what() << std::endl;
    }
    catch (...) // there is nobody else to tell
    {
    }
}

qxmi::IServiceCall* ServiceConnectorBase::Enqueue(std::unique_ptr<ServiceCallBase> call)
{
    {
        qpr::ScopedLock lock(m_lock);
        Append(*call);
        try
        {
            PublishChange();
        }
        catch (...)
        {
            Unqueue(*call);
            throw;
        }
    }
    call->AddRef();
    return call.release();
}

bool ServiceConnectorBase::Start(ServiceCallBase& call)
{
    call.m_state = ServiceCallBase::State::Started;
    try
    {
        call.m_thread.reset(); // of an earlier start, at its very end
        call.m_cancellation = std::make_unique<qpr::Cancellation>();
        call.m_thread = std::make_unique<qpr::Thread>(call, "qx call");
        return true;
    }
    catch (...)
    {
        Fail(call, std::current_exception());
        return false;
    }
}

void ServiceConnectorBase::Fail(ServiceCallBase& call, std::exception_ptr error)
{
    Unlink(call);
    call.m_error = std::move(error);
    call.m_outcome = ServiceCallBase::Outcome::Failed;
    call.NotifyRequest(call.m_outcome);
    SetEnded(call);
}

void ServiceConnectorBase::Finish(ServiceCallBase& call, bool interrupted)
{
    ServiceCallBase::Outcome outcome{};
    {
        qpr::ScopedLock lock(m_lock);
        call.m_cancelRequested |= interrupted;
        if (!LeaveOrFail(call))
            return;
        outcome = ChooseOutcome(call);
    }
    call.NotifyRequest(outcome);
    std::unique_ptr<qpr::Thread> earlier; // waited for when the lock is free again
    qpr::ScopedLock lock(m_lock);
    earlier = std::exchange(m_endedThread, std::move(call.m_thread));
    SetEnded(call);
}

bool ServiceConnectorBase::LeaveOrFail(ServiceCallBase& call)
{
    try
    {
        return Leave(call);
    }
    catch (...) // no memory to queue it again
    {
        if (call.m_outcome == ServiceCallBase::Outcome::Open)
        {
            call.m_outcome = ServiceCallBase::Outcome::Failed;
            call.m_error = std::current_exception();
        }
        return true;
    }
}

ServiceCallBase::Outcome ServiceConnectorBase::ChooseOutcome(ServiceCallBase& call)
{
    using Outcome = ServiceCallBase::Outcome;
    if (call.m_outcome == Outcome::Open)
        call.m_outcome = call.m_cancelRequested ? Outcome::Cancelled : Outcome::Done;
    return call.m_outcome;
}

void ServiceConnectorBase::SetEnded(ServiceCallBase& call)
{
    call.m_state = ServiceCallBase::State::Ended;
    call.m_cancellation.reset();
    call.m_endedChanged.NotifyAll();
}

void ServiceConnectorBase::ReportError(ServiceCallBase& call, std::exception_ptr error) noexcept
{
    qpr::ScopedLock lock(m_lock);
    if (call.m_outcome != ServiceCallBase::Outcome::Open)
        return;
    if (call.m_cancelRequested)
    {
        call.m_outcome = ServiceCallBase::Outcome::Cancelled;
        return;
    }
    call.m_outcome = ServiceCallBase::Outcome::Failed;
    call.m_error = std::move(error);
}

bool ServiceConnectorBase::CancelLocked(ServiceCallBase& call)
{
    if (call.m_state == ServiceCallBase::State::Started)
    {
        call.m_cancelRequested = true;
        call.m_cancellation->Cancel();
        return false;
    }
    if (call.m_state != ServiceCallBase::State::Queued)
        return false;
    Unqueue(call);
    call.m_outcome = ServiceCallBase::Outcome::Cancelled;
    call.NotifyRequest(call.m_outcome);
    SetEnded(call);
    return true;
}

void ServiceConnectorBase::WaitLocked(ServiceCallBase& call)
{
    while (call.m_state != ServiceCallBase::State::Ended)
        call.m_endedChanged.WaitFor(m_lock, waitSliceMs);
}

void ServiceConnectorBase::Cancel(ServiceCallBase& call)
{
    qpr::ScopedLock lock(m_lock);
    if (CancelLocked(call))
        PublishChangeLater();
}

void ServiceConnectorBase::WaitFor(ServiceCallBase& call)
{
    const qpr::Cancellation* const own = qpr::Cancellation::OfCurrentThread();
    qpr::ScopedLock lock(m_lock);
    while (own && call.m_state != ServiceCallBase::State::Ended)
    {
        own->ThrowIfCancelled();
        call.m_endedChanged.WaitFor(m_lock, nestedWaitSliceMs);
    }
    WaitLocked(call);
}

void ServiceConnectorBase::CancelServiceCalls(const std::vector<qxmi::IServiceCall*>& calls)
{
    const std::vector<ServiceCallBase*> own = OwnCalls(calls);
    qpr::ScopedLock lock(m_lock);
    bool queueChanged = false;
    for (ServiceCallBase* call : own)
        queueChanged |= CancelLocked(*call);
    if (queueChanged)
        PublishChangeLater();
    for (ServiceCallBase* call : own)
        WaitLocked(*call);
}

std::vector<ServiceCallBase*> ServiceConnectorBase::OwnCalls(const std::vector<qxmi::IServiceCall*>& calls)
{
    std::vector<ServiceCallBase*> own;
    own.reserve(calls.size());
    for (qxmi::IServiceCall* call : calls)
    {
        auto* const base = dynamic_cast<ServiceCallBase*>(call);
        if (!base || &base->m_connector != this)
            throw qpr::RuntimeError(L"Service call was not made by this service connector");
        own.push_back(base);
    }
    return own;
}

void ServiceConnectorBase::Dispose(ServiceCallBase& call)
{
    {
        qpr::ScopedLock lock(m_lock);
        if (CancelLocked(call))
            PublishChangeLater();
        WaitLocked(call);
    }
    call.m_thread.reset(); // of a start that came back to the queue: it ends before the connector can go
    delete &call;
}

void ServiceConnectorBase::Append(ServiceCallBase& call)
{
    m_queue.Append(call, call.Needs(), call.m_queuePlace);
    call.m_state = ServiceCallBase::State::Queued;
}

void ServiceConnectorBase::Unqueue(ServiceCallBase& call)
{
    m_queue.Remove(call.m_queuePlace);
    call.m_state = ServiceCallBase::State::Created;
}

void ServiceConnectorBase::MoveTo(CallList& list, ServiceCallBase& call)
{
    CallList::Unlink(call.m_listPlace);
    list.Append(call, call.m_listPlace);
}

void ServiceConnectorBase::Unlink(ServiceCallBase& call)
{
    CallList::Unlink(call.m_listPlace);
}

bool ServiceConnectorBase::IsIn(const CallList& list, const ServiceCallBase& call)
{
    return list.Holds(call.m_listPlace);
}

qxm::Work ServiceConnectorBase::SumOf(const CallList& calls)
{
    qxm::Work sum;
    for (const ServiceCallBase* call : calls)
    {
        const CallNeeds needs = call->Needs();
        ++sum.jobs;
        sum.processors = qxm::SaneAmount(sum.processors + needs.processors);
        sum.memoryInMB = qxm::SaneAmount(sum.memoryInMB + needs.memoryInMB);
    }
    return sum;
}

qxm::Work ServiceConnectorBase::PendingWork() const
{
    const PendingQueue::LocalSum& sum = m_queue.SumOfLocal();
    return {sum.calls, qxm::SaneAmount(sum.processors), qxm::SaneAmount(sum.memoryInMB)};
}

bool ServiceConnectorBase::IsRunningLimitReached(std::size_t running) const noexcept
{
    return !m_settings.maxRunningCalls.IsNull() && running >= m_settings.maxRunningCalls.Value();
}

} // namespace QxClient
