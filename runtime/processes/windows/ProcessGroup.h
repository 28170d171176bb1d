#pragma once

#include "runtime/threads/windows/Handle.h"

namespace qpr
{

/// A job object: the processes in it and all that these start. Closing it, also by this process's death, ends those
/// that still run. A system that refuses the job, or to put a process into it, leaves the group without members.
class ProcessGroup
{
public:
    ProcessGroup() noexcept;

    void Add(HANDLE process) noexcept;

    /// Ends all members with that exit code.
    void Terminate(std::uint32_t exitCode) noexcept;

private:
    OwnedHandle m_job;
};

} // namespace qpr
