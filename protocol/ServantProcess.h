#pragma once

#include "protocol/GraceTime.h"
#include "protocol/SupervisedProcess.h"
#include "runtime/channels/IReader.h"
#include "runtime/channels/NamedPipe.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Wait.h"

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace qxm
{

/// The data of a servant that was started here. All that came before the servant's own end is read; after that the data
/// ends when nobody holds the channel any more, at the latest when the grace time is over. Data that another process
/// writes meanwhile is an error, "Servant '<path>' left a process that was still writing": nobody could tell whether it
/// was all.
class ServantOutput final : public qpr::IReader
{
public:
    /// Takes over our end of the channel. What `servantEnd` names, which starts the timer, and the timer are not owned
    /// and outlive this.
    ServantOutput(qpr::PipeEnd pipe, const qpr::WaitObject& servantEnd, GraceTimer& grace, std::wstring servantPath,
        qpr::Wait wait);

    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override;

    /// Notes how much is in the pipe: what comes after it was written by another process. Called by whoever waits for
    /// the servant's end, on any thread: the reading thread may be busy with what it has read.
    void NoteServantEnd() QX_EXCLUDES(m_lock);

private:
    class Over;

    std::uint32_t AllowAfterEnd() QX_EXCLUDES(m_lock);
    void FixDataSize() QX_REQUIRES(m_lock);

    GraceTimer& m_grace; // not owned
    const std::wstring m_servantPath;
    const qpr::PipeEnd m_pipe;
    qpr::PipeReader m_reader;
    qpr::Mutex m_lock;
    bool m_isReading QX_GUARDED_BY(m_lock) = false;
    bool m_hasServantEnded QX_GUARDED_BY(m_lock) = false;
    std::optional<std::size_t> m_left QX_GUARDED_BY(m_lock); ///< to read of what came before the servant's end
};

/// The reader that a connection owns, over the output that it does not own.
class ServantOutputReader final : public qpr::IReader
{
public:
    explicit ServantOutputReader(ServantOutput& output)
        : m_output(output)
    {
    }

    std::size_t Read(void* buffer, std::size_t size) override { return m_output.Read(buffer, size); }
    bool InputPending() override { return m_output.InputPending(); }

private:
    ServantOutput& m_output; // not owned
};

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

    /// For a caller that will ask for the figures: to be called while the servant still has its channels.
    void NotePeakMemory() noexcept { m_process->Process().NotePeakMemory(); }

    /// The servant has the grace time to end, from now on.
    void Hurry() noexcept { m_process->Grace().Start(graceTimeMs); }

    /// Closes the command and answer channels, then as SupervisedProcess does.
    qpr::ChildProcess::ExitStatus WaitForEnd(const qpr::Cancellation& cancellation);

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
