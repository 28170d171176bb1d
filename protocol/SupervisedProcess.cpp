#include "protocol/SupervisedProcess.h"

#include "runtime/Thread.h"

#include <utility>

namespace qxm
{

SupervisedProcess::SupervisedProcess(const qpr::ProcessStart& start, qpr::PipeEnd logPipe, std::wostream& log)
    : m_logPipe(std::move(logPipe))
    , m_process(start)
    , m_logReader(m_logPipe.Handle())
    , m_logForwarder(std::in_place, m_logReader, log)
{
}

qpr::ChildProcess::ExitStatus SupervisedProcess::WaitForEnd(
    const qpr::Cancellation& cancellation, bool hurry, std::uint32_t graceMs)
{
    const qpr::NonInterruptibleSection section;
    if (!WaitWithGrace(m_process.EndObject(), cancellation, hurry, graceMs))
        m_process.Terminate();
    EndGroup(cancellation, graceMs);
    return m_process.CollectExitStatus();
}

/// A child that the process forgot may hold the log channel. One that left the group too keeps it, and is left alone.
void SupervisedProcess::EndGroup(const qpr::Cancellation& cancellation, std::uint32_t graceMs)
{
    constexpr bool hurry = true;
    if (!m_logForwarder->WaitForEnd(cancellation, hurry, graceMs))
    {
        m_process.Terminate();
        m_logForwarder->WaitForEnd(cancellation, hurry, graceTimeMs);
    }
    m_logForwarder.reset();
}

} // namespace qxm
