#include "protocol/SupervisedProcess.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/Thread.h"

#include <utility>

namespace qxm
{

namespace
{

/// For the log of what was ended by force.
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

/// For how long a process that has ended may have its log held open by another: one that it forgot is given time to
/// finish, one that holds nothing is not.
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
    const qpr::Cancellation& cancellation, bool hurry, std::uint32_t timeMs)
{
    const qpr::NonInterruptibleSection section;
    if (hurry)
        m_grace.Start(timeMs);
    // Of the log and the process, which mostly end at once: one thread waits for both, the other for that thread.
    const qpr::WaitObject bothEnded = m_logForwarder->EndObject();
    const bool haveEnded = m_grace.WaitFor(bothEnded, cancellation, timeMs);
    if (qpr::Thread::TryWaitForObject(m_process.EndObject(), L"qxm::SupervisedProcess::WaitForEnd", 0))
        m_process.WaitForCompletion(); // notes the time
    m_process.Terminate();
    if (!haveEnded)
        qpr::Thread::TryWaitForObject(bothEnded, L"qxm::SupervisedProcess::WaitForEnd", lastWordsTimeMs);
    m_logForwarder.reset();
    return m_process.CollectExitStatus();
}

} // namespace qxm
