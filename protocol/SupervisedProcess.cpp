#include "protocol/SupervisedProcess.h"

#include "runtime/Cancellation.h"
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
    if (WaitWithGrace(m_process.EndObject(), cancellation, hurry, graceMs))
        m_process.WaitForCompletion(); // notes the time
    else
        m_process.Terminate();
    EndGroup(cancellation, cancellation.IsCancelled() ? graceMs : graceTimeMs);
    return m_process.CollectExitStatus();
}

/// A child that the process forgot may hold the log channel: it is given time to finish, one that holds nothing is not.
/// One that left the group too keeps the channel, and is left alone.
void SupervisedProcess::EndGroup(const qpr::Cancellation& cancellation, std::uint32_t graceMs)
{
    constexpr bool hurry = true;
    const bool logHasEnded = m_logForwarder->WaitForEnd(cancellation, hurry, graceMs);
    m_process.Terminate();
    if (!logHasEnded)
        m_logForwarder->WaitForEnd(cancellation, hurry, graceTimeMs);
    m_logForwarder.reset();
}

} // namespace qxm
