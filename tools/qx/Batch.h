#pragma once

#include "runtime/threads/Mutex.h"
#include "runtime/threads/ThreadEvent.h"
#include "tools/qx/BatchCall.h"
#include "tools/qx/BatchCounts.h"

#include <deque>
#include <vector>

namespace qpr
{
class InterruptSignal;
}

namespace qx
{

class Program;

/// Runs one call per file, all of them queued at once and as many carried out at a time as the connector admits. Used
/// by one thread, which collects the calls in the order in which they end.
class Batch final : public IBatchListener
{
public:
    /// None is owned. The situation explains the calls' errors and has the service and the attributes of every call.
    Batch(qxmi::IServiceConnectorW& connector, const Situation& situation, JobLog& jobLog, Program& program,
        const qpr::InterruptSignal& interrupt);

    /// Ends what still runs.
    ~Batch() override;

    /// Reports each failed call as it ends. Throws Interrupted when all calls have been cancelled and have ended.
    BatchCounts Run(const std::vector<BatchItem>& items, std::size_t skipped);

private:
    struct Event
    {
        BatchCall* call;
        bool hasEnded;
    };

    void CreateCalls(const std::vector<BatchItem>& items);
    void WaitForChange();
    void TakeEvents();
    void CollectCall(BatchCall& call);
    void ReportFailure(const BatchCall& call);
    void CancelIfInterrupted();
    void CancelAll();
    void ShowProgress();
    void TellWaiting(std::chrono::steady_clock::time_point now);
    double ElapsedSeconds() const;

    void OnStarted() override { ++m_started; }
    void OnConversed(BatchCall& call) override { Post({&call, false}); }
    void OnEnded(BatchCall& call) override { Post({&call, true}); }
    void Post(Event event);

    qxmi::IServiceConnectorW& m_connector;
    const Situation& m_situation;
    JobLog& m_jobLog;
    Program& m_program;
    const qpr::InterruptSignal& m_interrupt;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_nextProgress = m_start;
    std::chrono::steady_clock::time_point m_lastRunning = m_start;
    bool m_hasToldWaiting = false;
    BatchCounts m_counts;
    std::atomic<std::size_t> m_started = 0;
    bool m_isInterrupted = false;

    qpr::ThreadEvent m_changed{qpr::ThreadEvent::Kind_AutoReset};
    qpr::Mutex m_lock;
    std::deque<Event> m_events QX_GUARDED_BY(m_lock);
    std::vector<std::unique_ptr<BatchCall>> m_calls; // last: their ends still post events
};

} // namespace qx
