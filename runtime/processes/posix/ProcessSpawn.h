#pragma once

#include "runtime/processes/ChildProcess.h"

#include <sys/types.h>

namespace qpr
{

/// Starts the process in a process group of its own, with the three handles as its only descriptors and no signal
/// blocked or ignored. Copies nothing of this process's memory, however large that is. Throws "CreateProcess('<path>')
/// failed".
pid_t SpawnProcess(const ProcessStart& start);

} // namespace qpr
