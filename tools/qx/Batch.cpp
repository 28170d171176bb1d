#include "tools/qx/Batch.h"

#include "runtime/processes/InterruptSignal.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/RoomHolders.h"

#include <array>

namespace qx
{

namespace
{

constexpr std::uint32_t progressIntervalMs = 200;
constexpr std::chrono::seconds waitingTime{1}; // after which a batch that waits for room says so

} // namespace

Batch::Batch(qxmi::IServiceConnectorW& connector, const Situation& situation, JobLog& jobLog, Program& program,
    const qpr::InterruptSignal& interrupt)
    : m_connector(connector)
    , m_situation(situation)
    , m_jobLog(jobLog)
    , m_program(program)
    , m_interrupt(interrupt)
{
}

Batch::~Batch()
{
    CancelAll(); // all at once: each release would wait for its own
}

BatchCounts Batch::Run(const std::vector<BatchItem>& items, std::size_t skipped)
{
    m_counts.total = items.size();
    m_counts.skipped = skipped;
    CreateCalls(items);
    while (m_counts.Ended() < m_calls.size())
        WaitForChange();
    m_program.Errors().WriteLine(DescribeSummary(m_counts, ElapsedSeconds()));
    if (m_isInterrupted)
        throw Interrupted();
    return m_counts;
}

void Batch::CreateCalls(const std::vector<BatchItem>& items)
{
    for (const BatchItem& item : items)
    {
        m_calls.push_back(std::make_unique<BatchCall>(item, m_situation, *this));
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
        {objects.data(), count}, L"qx::Batch", m_program.Errors().IsTerminal() ? progressIntervalMs : qpr::Infinite);
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
    const ExplainedError& problem = call.Problem().value();
    m_program.Report(ExplainedError(call.Record().name + ": " + problem.what(), problem.LibraryText()));
    m_program.Errors().WriteQuote(call.LastLogLines());
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
    if (!m_program.Errors().IsTerminal() || now < m_nextProgress)
        return;
    m_nextProgress = now + std::chrono::milliseconds(progressIntervalMs);
    m_counts.started = m_started;
    TellWaiting(now);
    m_program.Errors().ShowProgress(DescribeProgress(m_counts, ElapsedSeconds()));
}

/// Says so once for each period in which no call of the batch runs.
void Batch::TellWaiting(std::chrono::steady_clock::time_point now)
{
    if (m_counts.Running() > 0)
    {
        m_lastRunning = now;
        m_hasToldWaiting = false;
    }
    if (m_hasToldWaiting || now < m_lastRunning + waitingTime)
        return;
    if (const std::optional<std::string> waiting = DescribeWaiting())
        m_program.Errors().WriteError(*waiting);
    m_hasToldWaiting = true;
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
