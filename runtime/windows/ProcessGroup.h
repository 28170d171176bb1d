#pragma once

#include "runtime/windows/Handle.h"

namespace qpr
{

/// A job object: the processes in it and all that these start. Closing it, also by this process's death, ends those
/// that still run.
class ProcessGroup
{
public:
    /// IsValid() is false, with the last error set, when the system refuses.
    ProcessGroup() noexcept;

    bool IsValid() const noexcept { return m_job.IsValid(); }

    /// False, with the last error set, when the system refuses.
    bool Add(HANDLE process) noexcept;

    /// Ends all members with that exit code.
    void Terminate(std::uint32_t exitCode) noexcept;

private:
    OwnedHandle m_job;
};

} // namespace qpr
