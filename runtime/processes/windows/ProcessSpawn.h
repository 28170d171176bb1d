#pragma once

#include "runtime/processes/ChildProcess.h"
#include "runtime/processes/windows/ProcessGroup.h"
#include "runtime/threads/windows/Handle.h"

namespace qpr
{

struct SpawnedProcess
{
    OwnedHandle process;
    std::uint32_t processId = 0;
};

/// Starts the process in the group, with the three handles as its only ones, without a console of its own. Throws
/// "CreateProcess('<path>') failed", and a text of its own for a batch file with arguments that the command interpreter
/// would take for more than text.
SpawnedProcess SpawnProcess(const ProcessStart& start, ProcessGroup& group);

} // namespace qpr
