#include "client/ServiceConnectorBase.h"

#include "runtime/text/Errors.h"
#include "worktable/RowInWorkTable.h"

#include <iostream>
#include <utility>

namespace QxClient
{

ServiceConnectorBase::ServiceConnectorBase(const char* name, const qxm::ServiceConnectorSettings& settings,
    std::unique_ptr<LocalComputer> computer, std::unique_ptr<ICallExecutor> executor)
    : m_name(name)
    , m_executor(std::move(executor))
    , m_computer(std::move(computer))
    , m_starterEvent(qpr::ThreadEvent::Kind_AutoReset)
    , m_scheduler(m_computer.get(), m_starterEvent, settings.maxRunningCalls)
    , m_switchObject(m_scheduler.SwitchObject())
    , m_starter(*this)
    , m_starterThread(m_starter, "qx starter")
{
}

ServiceConnectorBase::~ServiceConnectorBase() = default;

void ServiceConnectorBase::Starter::Run()
{
    for (;;)
    {
        m_connector.WaitForChange();
        qpr::ScopedLock lock(m_connector.m_lock);
        try
        {
            m_connector.MakePass();
        }
        catch (const qxm::WorkTableCorruption&)
        {
            throw;
        }
        catch (const std::exception&) // the table is not to be had: while calls wait there is another pass in a second
        {
        }
    }
}

void ServiceConnectorBase::Starter::HandleError(const std::exception& error)
{
    try
    {
        std::cerr << "[QxClient::" << m_connector.m_name
                  << "::HandleError] Pending call starter thread terminated prematurely: " << error.what() << std::endl;
    }
    catch (...) // there is nobody else to tell
    {
    }
}

void ServiceConnectorBase::WaitForChange()
{
    if (m_computer)
        m_computer->WaitForChange();
    else
        m_starterEvent.Wait();
}

void ServiceConnectorBase::MakePass()
{
    while (const std::optional<CallScheduler::Admission> admitted = m_scheduler.AdmitNext())
    {
        if (admitted->error)
        {
            Fail(*admitted->call, admitted->error);
            std::rethrow_exception(admitted->error);
        }
        if (Start(*admitted->call, admitted->place))
            return;
        m_scheduler.PublishLater();
    }
    m_scheduler.SwitchWaitingCallIfAdmitted();
}

qxmi::IServiceCall* ServiceConnectorBase::Enqueue(std::unique_ptr<ServiceCallBase> call)
{
    {
        qpr::ScopedLock lock(m_lock);
        m_scheduler.Append(*call);
        try
        {
            m_scheduler.Publish();
        }
        catch (...)
        {
            m_scheduler.Unqueue(*call);
            throw;
        }
    }
    call->AddRef();
    return call.release();
}

bool ServiceConnectorBase::Start(ServiceCallBase& call, CallPlace place)
{
    try
    {
        call.SetPlace(place);
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
    m_scheduler.Remove(call);
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
        if (!Leave(call))
            return;
        call.Life().Decide();
    }
    call.NotifyRequest();
    std::unique_ptr<qpr::Thread> earlier; // waited for when the lock is free again
    qpr::ScopedLock lock(m_lock);
    earlier = std::exchange(m_endedThread, call.Life().TakeThread());
    call.Life().End();
}

bool ServiceConnectorBase::Leave(ServiceCallBase& call)
{
    const bool wasWaiting = m_scheduler.Remove(call);
    bool goesBack = wasWaiting && !call.Needs().mayGoToNetwork && !call.Life().IsCancelRequested();
    try
    {
        if (goesBack)
            m_scheduler.Append(call);
    }
    catch (...) // no memory to queue it again
    {
        call.Life().ReportError(std::current_exception());
        goesBack = false;
    }
    m_scheduler.PublishLater();
    return !goesBack;
}

void ServiceConnectorBase::OnServantAssigned(ServiceCallBase& call)
{
    qpr::ScopedLock lock(m_lock);
    m_scheduler.OnServantAssigned(call);
}

void ServiceConnectorBase::OnSwitched()
{
    qpr::ScopedLock lock(m_lock);
    m_scheduler.OnSwitched();
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
    m_scheduler.Unqueue(call);
    call.Life().Cancel();
    Conclude(call);
    return true;
}

void ServiceConnectorBase::Cancel(ServiceCallBase& call)
{
    qpr::ScopedLock lock(m_lock);
    if (CancelLocked(call))
        m_scheduler.PublishLater();
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
        m_scheduler.PublishLater();
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
            m_scheduler.PublishLater();
        call.Life().WaitForEnd(m_lock);
    }
    call.Life().TakeThread().reset(); // of a start that came back to the queue: it ends before the connector can go
    delete &call;
}

} // namespace QxClient
