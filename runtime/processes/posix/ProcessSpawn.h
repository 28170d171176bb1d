#pragma once

#include "runtime/processes/ChildProcess.h"

#include <sys/types.h>

namespace qpr
{

/// Starts the process in a process group of its own, with the three handles as its only descriptors, no signal blocked
/// or ignored. Nothing of this process is copied, whatever it holds. Throws "CreateProcess('<path>') failed".
pid_t SpawnProcess(const ProcessStart& start);

} // namespace qpr
