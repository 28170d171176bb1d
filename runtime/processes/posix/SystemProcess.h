#pragma once

#include "runtime/processes/ChildProcess.h"
#include "runtime/threads/posix/Descriptor.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/types.h>

namespace qpr
{

/// A started process. It is held by a pidfd, so that no other process is ever taken for it, and is collected (which
/// frees its id) only after its group has been signalled.
class SystemProcess
{
public:
    /// Starts the process. Throws what ChildProcess throws.
    explicit SystemProcess(const ProcessStart& start);
    ~SystemProcess();
    SystemProcess(const SystemProcess&) = delete;
    SystemProcess& operator=(const SystemProcess&) = delete;

    std::uint32_t Id() const noexcept { return static_cast<std::uint32_t>(m_processId); }
    WaitObject EndObject() const noexcept { return {HandleOf(m_descriptor), WaitObject::Kind_State}; }
    void SetPriorityLevel(PriorityLevel level) noexcept;
    void NotePeakMemory(ProcessFigures& figures) noexcept;

    bool IsEnded() const noexcept { return WaitForEnd(0); }

    /// Ends the process and its group, and waits for the process.
    void Kill() noexcept;

    /// Both require: the process has ended. The second frees its id and fills in the figures.
    ChildProcess::ExitStatus Peek() const noexcept;
    ChildProcess::ExitStatus Collect(ProcessFigures& figures) noexcept;

private:
    bool WaitForEnd(int timeoutMs) const noexcept;
    bool WaitForExitStatus(siginfo_t& info, int options, rusage* usage) const noexcept;
    void TakeUsage(const rusage& usage, ProcessFigures& figures) const noexcept;

    pid_t m_processId;
    int m_descriptor = -1; ///< readable once the process has ended
    bool m_isLost = false; ///< ended and collected behind our back before it could be held
    long m_clientPeakKB = 0; ///< what a fresh process seems to have had resident, and had not
    long m_notedPeakKB = 0;
};

} // namespace qpr
