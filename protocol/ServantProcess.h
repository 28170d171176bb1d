#pragma once

#include "protocol/SupervisedProcess.h"
#include "runtime/NamedPipe.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace qxm
{

/// A servant that was started here, with its three pipes. The destructor ends what is left of it. Used by the call's
/// thread.
class ServantProcess
{
public:
    /// Starts the servant at idle priority; its log goes to the stream until it ends. Throws what pipes, process and
    /// thread throw, with nothing left behind. The log outlives it.
    ServantProcess(const std::vector<std::wstring>& commandLine, std::wostream& log);

    /// Our ends of the command and answer channels.
    qpr::PipeEnd& CommandPipe() noexcept { return m_commandPipe; }
    qpr::PipeEnd& AnswerPipe() noexcept { return m_answerPipe; }

    /// Signalled once the servant itself has ended.
    qpr::WaitObject EndObject() const noexcept { return m_process->Process().EndObject(); }

    /// Waits without limit until the servant itself has ended, and tells how; throws when cancelled. Its channels stay
    /// as they are. Any thread may wait.
    qpr::ChildProcess::ExitStatus AwaitEnd(const qpr::Cancellation& cancellation) const;

    /// For who will ask for the figures: to be called while the servant still has its channels.
    void NotePeakMemory() noexcept { m_process->Process().NotePeakMemory(); }

    /// Closes the command and answer channels, then as SupervisedProcess does.
    qpr::ChildProcess::ExitStatus WaitForEnd(const qpr::Cancellation& cancellation, bool hurry);

    /// Requires: WaitForEnd has returned.
    const qpr::ProcessFigures& Figures() const noexcept { return m_process->Process().Figures(); }

private:
    qpr::PipeEnd m_commandPipe;
    qpr::PipeEnd m_answerPipe;
    std::unique_ptr<SupervisedProcess> m_process;
};

} // namespace qxm
