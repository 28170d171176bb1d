#pragma once

#include "runtime/Mutex.h"
#include "runtime/ThreadEvent.h"
#include "tools/qx/BatchCall.h"
#include "tools/qx/BatchCounts.h"
#include "tools/qx/ProgressLine.h"

#include <deque>
#include <vector>

namespace qpr
{
class InterruptSignal;
}

namespace qx
{

/// Runs a call a file, all of them queued at once and as many carried out at a time as the connector admits. Used by
/// one thread, which collects the calls in the order in which they end.
class Batch final : public IBatchListener
{
public:
    /// None is owned.
    Batch(qxmi::IServiceConnectorW& connector, JobLog& jobLog, const qpr::InterruptSignal& interrupt);

    /// Ends what still runs.
    ~Batch() override;

    /// Reports each failed call as it ends. Throws Interrupted when all calls have been cancelled and have ended.
    BatchCounts Run(
        const std::vector<BatchItem>& items, const std::wstring& service, const ServiceRequest::Attributes& attributes);

private:
    struct Event
    {
        BatchCall* call;
        bool hasEnded;
    };

    void CreateCalls(
        const std::vector<BatchItem>& items, const std::wstring& service, const ServiceRequest::Attributes& attributes);
    void WaitForChange();
    void TakeEvents();
    void CollectCall(BatchCall& call);
    void ReportFailure(const BatchCall& call);
    void CancelIfInterrupted();
    void CancelAll();
    void ShowProgress();
    double ElapsedSeconds() const;

    void OnStarted() override { ++m_started; }
    void OnConversed(BatchCall& call) override { Post({&call, false}); }
    void OnEnded(BatchCall& call) override { Post({&call, true}); }
    void Post(Event event);

    qxmi::IServiceConnectorW& m_connector;
    JobLog& m_jobLog;
    const qpr::InterruptSignal& m_interrupt;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_nextProgress = m_start;
    ProgressLine m_progress;
    BatchCounts m_counts;
    std::atomic<std::size_t> m_started = 0;
    bool m_isInterrupted = false;

    qpr::ThreadEvent m_changed{qpr::ThreadEvent::Kind_AutoReset};
    qpr::Mutex m_lock;
    std::deque<Event> m_events QX_GUARDED_BY(m_lock);
    std::vector<std::unique_ptr<BatchCall>> m_calls; // last: their ends still post events
};

} // namespace qx
