#include "client/ServiceConnectorBase.h"

#include "runtime/text/Errors.h"
#include "worktable/WorkSum.h"

#include <iostream>
#include <utility>

namespace QxClient
{

ServiceConnectorBase::ServiceConnectorBase(const qxm::ServiceConnectorSettings& settings)
    : m_settings(settings)
{
}

ServiceConnectorBase::~ServiceConnectorBase() = default;

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
    try
    {
        call.Life().Start(call);
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
    call.Life().ReportError(std::move(error));
    Conclude(call);
}

void ServiceConnectorBase::Conclude(ServiceCallBase& call)
{
    call.Life().Decide();
    call.NotifyRequest();
    call.Life().End();
}

void ServiceConnectorBase::Finish(ServiceCallBase& call, bool interrupted)
{
    {
        qpr::ScopedLock lock(m_lock);
        if (interrupted)
            call.Life().Cancel();
        if (!LeaveOrFail(call))
            return;
        call.Life().Decide();
    }
    call.NotifyRequest();
    std::unique_ptr<qpr::Thread> earlier; // waited for when the lock is free again
    qpr::ScopedLock lock(m_lock);
    earlier = std::exchange(m_endedThread, call.Life().TakeThread());
    call.Life().End();
}

bool ServiceConnectorBase::LeaveOrFail(ServiceCallBase& call)
{
    try
    {
        return Leave(call);
    }
    catch (...) // no memory to queue it again
    {
        call.Life().ReportError(std::current_exception());
        return true;
    }
}

void ServiceConnectorBase::ReportError(ServiceCallBase& call, std::exception_ptr error) noexcept
{
    qpr::ScopedLock lock(m_lock);
    call.Life().ReportError(std::move(error));
}

bool ServiceConnectorBase::CancelLocked(ServiceCallBase& call)
{
    const CallLife::State state = call.Life().GetState();
    if (state == CallLife::State::Started)
        call.Life().Cancel();
    if (state != CallLife::State::Queued)
        return false;
    Unqueue(call);
    call.Life().Cancel();
    Conclude(call);
    return true;
}

void ServiceConnectorBase::Cancel(ServiceCallBase& call)
{
    qpr::ScopedLock lock(m_lock);
    if (CancelLocked(call))
        PublishChangeLater();
}

void ServiceConnectorBase::WaitFor(ServiceCallBase& call)
{
    qpr::ScopedLock lock(m_lock);
    call.Life().WaitForEnd(m_lock, qpr::Cancellation::OfCurrentThread());
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
        call->Life().WaitForEnd(m_lock);
}

std::vector<ServiceCallBase*> ServiceConnectorBase::OwnCalls(const std::vector<qxmi::IServiceCall*>& calls)
{
    std::vector<ServiceCallBase*> own;
    own.reserve(calls.size());
    for (qxmi::IServiceCall* call : calls)
    {
        auto* const base = dynamic_cast<ServiceCallBase*>(call);
        if (!base || &base->Connector() != this)
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
        call.Life().WaitForEnd(m_lock);
    }
    call.Life().TakeThread().reset(); // of a start that came back to the queue: it ends before the connector can go
    delete &call;
}

void ServiceConnectorBase::Append(ServiceCallBase& call)
{
    m_queue.Append(call, call.Needs(), call.QueuePlace());
    call.Life().Enqueue();
}

void ServiceConnectorBase::Unqueue(ServiceCallBase& call)
{
    m_queue.Remove(call.QueuePlace());
    call.Life().Dequeue();
}

void ServiceConnectorBase::MoveTo(CallList& list, ServiceCallBase& call)
{
    CallList::Unlink(call.ListPlace());
    list.Append(call, call.ListPlace());
}

void ServiceConnectorBase::Unlink(ServiceCallBase& call)
{
    CallList::Unlink(call.ListPlace());
}

bool ServiceConnectorBase::IsIn(const CallList& list, ServiceCallBase& call)
{
    return list.Holds(call.ListPlace());
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
