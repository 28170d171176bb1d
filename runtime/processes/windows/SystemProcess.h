#pragma once

#include "runtime/processes/ChildProcess.h"
#include "runtime/processes/windows/ProcessGroup.h"
#include "runtime/threads/windows/Handle.h"

namespace qpr
{

/// A started process. Its handle keeps its id from being given to another, and its figures; the group is a job that
/// ends with the object. Where the system refuses a job (this process's own job may forbid it) only the process itself
/// is ended.
class SystemProcess
{
public:
    /// Starts the process. Throws what ChildProcess throws.
    explicit SystemProcess(const ProcessStart& start);
    ~SystemProcess();
    SystemProcess(const SystemProcess&) = delete;
    SystemProcess& operator=(const SystemProcess&) = delete;

    std::uint32_t Id() const noexcept { return m_processId; }
    WaitObject EndObject() const noexcept { return {m_process.Native(), WaitObject::Kind_State}; }
    void SetPriorityLevel(PriorityLevel level) noexcept;
    void NotePeakMemory(ProcessFigures& figures) noexcept;

    bool IsEnded() const noexcept { return WaitForEnd(0); }

    /// Ends the process and its group, and waits for the process.
    void Kill() noexcept;

    /// Both require: the process has ended. The second frees its id and fills in the figures.
    ChildProcess::ExitStatus Peek() const noexcept;
    ChildProcess::ExitStatus Collect(ProcessFigures& figures) noexcept;

private:
    bool WaitForEnd(DWORD timeoutMs) const noexcept;

    ProcessGroup m_group;
    OwnedHandle m_process;
    std::uint32_t m_processId = 0;
};

} // namespace qpr
