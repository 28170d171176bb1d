#pragma once

#include "protocol/ServantOutput.h"
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

    /// Its channels, which wait as they are told and know of the servant's end: a write after it is a PeerClosedError,
    /// whoever holds the other end then. To be called once each; this object outlives them.
    std::unique_ptr<qpr::IOWriter> OpenInput(qpr::Wait wait) const;
    std::unique_ptr<ServantOutputReader> OpenOutput(qpr::Wait wait) QX_EXCLUDES(m_lock);

    /// Closes our end of the channel, which nobody uses any more.
    void CloseInput() { m_commandPipe = {}; }
    void CloseOutput() QX_EXCLUDES(m_lock);

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
    void NoteEnd() QX_EXCLUDES(m_lock);

    const std::wstring m_path;
    qpr::PipeEnd m_commandPipe;
    qpr::PipeEnd m_answerPipe; ///< until the output is opened
    qpr::Mutex m_lock;
    std::unique_ptr<ServantOutput> m_output QX_GUARDED_BY(m_lock);
    std::unique_ptr<SupervisedProcess> m_process; // last: its thread uses the output
};

} // namespace qxm
