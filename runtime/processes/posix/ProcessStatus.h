#pragma once

#include <sys/types.h>

/// What the system tells of a process while it exists.
namespace qpr
{

/// False for one that has ended, collected by its parent or not.
bool IsRunning(pid_t process) noexcept;

/// The most memory that it has had resident so far, in KB; 0 when it is not known.
long PeakResidentKB(pid_t process) noexcept;

} // namespace qpr
