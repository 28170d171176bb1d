#include "protocol/SupervisedProcess.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/Thread.h"

#include <utility>

namespace qxm
{

namespace
{

/// How long the log of a process that was ended by force is still read.
constexpr std::uint32_t lastWordsTimeMs = 200;

} // namespace

SupervisedProcess::SupervisedProcess(
    const qpr::ProcessStart& start, qpr::PipeEnd logPipe, std::wostream& log, std::function<void()> onEnd)
    : m_onEnd(std::move(onEnd))
    , m_logPipe(std::move(logPipe))
    , m_process(start)
    , m_logReader(m_logPipe.Handle(), qpr::Wait().Or(m_process.EndObject(), [this] { return AllowForLog(); }))
    , m_logForwarder(std::in_place, m_logReader, log, [this] { AwaitEnd(); })
{
}

/// How long another process may still hold the log open once this one has ended: one that was left behind gets the
/// grace time.
std::uint32_t SupervisedProcess::AllowForLog()
{
    m_onEnd();
    m_grace.Start(graceTimeMs);
    const std::uint32_t leftMs = m_grace.LeftMs();
    if (leftMs == 0)
        throw qpr::RuntimeError(L"The log is held open");
    return leftMs;
}

void SupervisedProcess::AwaitEnd()
{
    qpr::Thread::WaitForObject(m_process.EndObject(), L"qxm::SupervisedProcess::AwaitEnd");
    m_onEnd();
}

qpr::ChildProcess::ExitStatus SupervisedProcess::WaitForEnd(
    const qpr::Cancellation& cancellation, std::uint32_t timeAfterCancelMs)
{
    const qpr::NonInterruptibleSection section;
    // Log and process mostly end together: the log thread waits for both, and this one for that thread.
    const qpr::WaitObject bothEnded = m_logForwarder->EndObject();
    const bool haveEnded = m_grace.WaitFor(bothEnded, cancellation, timeAfterCancelMs);
    if (qpr::Thread::TryWaitForObject(m_process.EndObject(), L"qxm::SupervisedProcess::WaitForEnd", 0))
        m_process.WaitForCompletion(); // notes the time
    m_process.Terminate();
    if (!haveEnded)
        qpr::Thread::TryWaitForObject(bothEnded, L"qxm::SupervisedProcess::WaitForEnd", lastWordsTimeMs);
    m_logForwarder.reset();
    return m_process.CollectExitStatus();
}

} // namespace qxm
