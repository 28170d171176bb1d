#pragma once

#include <sys/types.h>

/// What is left of a process group whose leader has ended. The group's id is safe from reuse while the leader has not
/// been collected.
namespace qpr
{

/// Whether a process other than the leader still runs in the group; true when the system does not tell.
bool HasRunningMembers(pid_t group) noexcept;

} // namespace qpr
