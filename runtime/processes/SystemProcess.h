#pragma once

#include "runtime/processes/ChildProcess.h"

#include <memory>

namespace qpr
{

/// What ChildProcess asks of the system: a started process, held so that no other process is ever taken for it, and its
/// group. On Linux it is held by a pidfd and collected, which frees its id, only after the group has been signalled. On
/// Windows the handle keeps the id from being given to another process, and the group is a job that ends with this
/// object; where the system refuses a job (this process's own job may forbid it) only the process itself is ended.
class SystemProcess
{
public:
    /// Starts the process. Throws what ChildProcess throws.
    explicit SystemProcess(const ProcessStart& start);
    ~SystemProcess();
    SystemProcess(const SystemProcess&) = delete;
    SystemProcess& operator=(const SystemProcess&) = delete;

    std::uint32_t Id() const noexcept;
    WaitObject EndObject() const noexcept;
    void SetPriorityLevel(PriorityLevel level) noexcept;
    void NotePeakMemory(ProcessFigures& figures) noexcept;
    bool IsEnded() const noexcept;

    /// Ends the process and its group, and waits for the process.
    void Kill() noexcept;

    /// Both require: the process has ended. The second frees its id and fills in the figures.
    ChildProcess::ExitStatus Peek() const noexcept;
    ChildProcess::ExitStatus Collect(ProcessFigures& figures) noexcept;

private:
    struct Native;
    std::unique_ptr<Native> m_native;
};

} // namespace qpr
