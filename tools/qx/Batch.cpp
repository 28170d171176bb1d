#include "tools/qx/Batch.h"

#include "runtime/InterruptSignal.h"
#include "tools/qx/ExitCode.h"

#include <array>
#include <iostream>

namespace qx
{

namespace
{

constexpr std::uint32_t progressIntervalMs = 200;

}

Batch::Batch(qxmi::IServiceConnectorW& connector, JobLog& jobLog, const qpr::InterruptSignal& interrupt)
    : m_connector(connector)
    , m_jobLog(jobLog)
    , m_interrupt(interrupt)
{
}

Batch::~Batch()
{
    CancelAll(); // all at once: each release would wait for its own
}

BatchCounts Batch::Run(
    const std::vector<BatchItem>& items, const std::wstring& service, const ServiceRequest::Attributes& attributes)
{
    m_counts.total = items.size();
    CreateCalls(items, service, attributes);
    while (m_counts.Ended() < m_calls.size())
        WaitForChange();
    m_progress.Clear();
    std::cerr << DescribeSummary(m_counts, ElapsedSeconds()) << '\n';
    if (m_isInterrupted)
        throw Interrupted();
    return m_counts;
}

void Batch::CreateCalls(
    const std::vector<BatchItem>& items, const std::wstring& service, const ServiceRequest::Attributes& attributes)
{
    for (const BatchItem& item : items)
    {
        m_calls.push_back(std::make_unique<BatchCall>(item, service, attributes, *this));
        m_calls.back()->Start(m_connector);
        TakeEvents();
        CancelIfInterrupted();
        if (m_isInterrupted)
            return;
    }
}

void Batch::WaitForChange()
{
    ShowProgress();
    const std::array objects = {m_changed.Object(), m_interrupt.Object()};
    const std::size_t count = m_isInterrupted ? 1 : 2; // the interrupt stays signalled
    qpr::Thread::TryWaitForAnyObject(
        {objects.data(), count}, L"qx::Batch", m_progress.IsShown() ? progressIntervalMs : qpr::Infinite);
    TakeEvents();
    CancelIfInterrupted();
}

void Batch::TakeEvents()
{
    std::deque<Event> events;
    {
        const qpr::ScopedLock lock(m_lock);
        events.swap(m_events);
    }
    for (const Event& event : events)
    {
        if (event.hasEnded)
            CollectCall(*event.call);
        else
            event.call->WaitForEnd();
    }
}

void Batch::CollectCall(BatchCall& call)
{
    if (!call.Collect())
        return;
    const bool wasInterrupted = call.GetOutcome() == BatchCall::Outcome::Cancelled;
    ++(wasInterrupted ? m_counts.interrupted : call.IsDone() ? m_counts.done : m_counts.failed);
    if (call.HasStarted())
        ++m_counts.endedAfterStart;
    if (call.HasStarted() || !wasInterrupted)
        m_jobLog.Write(call.Record());
    if (!call.IsDone() && !wasInterrupted)
        ReportFailure(call);
}

void Batch::ReportFailure(const BatchCall& call)
{
    m_progress.Clear();
    std::cerr << "qx: " << call.Record().file << ": " << call.Problem() << '\n' << call.LogTail();
    if (!call.LogTail().empty() && !call.LogTail().ends_with('\n'))
        std::cerr << '\n';
}

void Batch::CancelIfInterrupted()
{
    if (m_isInterrupted || !qpr::Thread::TryWaitForObject(m_interrupt.Object(), L"qx::Batch", 0))
        return;
    m_isInterrupted = true;
    CancelAll();
}

void Batch::CancelAll()
{
    for (const auto& call : m_calls)
        call->Cancel();
}

void Batch::ShowProgress()
{
    const auto now = std::chrono::steady_clock::now();
    if (!m_progress.IsShown() || now < m_nextProgress)
        return;
    m_nextProgress = now + std::chrono::milliseconds(progressIntervalMs);
    m_counts.started = m_started;
    m_progress.Show(DescribeProgress(m_counts, ElapsedSeconds()));
}

double Batch::ElapsedSeconds() const
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

void Batch::Post(Event event)
{
    {
        const qpr::ScopedLock lock(m_lock);
        m_events.push_back(event);
    }
    m_changed.Signal();
}

} // namespace qx
