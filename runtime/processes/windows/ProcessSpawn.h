#pragma once

#include "runtime/processes/ChildProcess.h"
#include "runtime/threads/windows/Handle.h"

namespace qpr
{

/// A job object: processes and all that these start. It is not valid where the system refuses jobs, and is empty where
/// the system refuses to put a process into it.
using ProcessGroup = SystemHandle<"qpr::ChildProcess::~ChildProcess">;

struct SpawnedProcess
{
    SystemHandle<"qpr::ChildProcess::~ChildProcess"> process;
    std::uint32_t processId = 0;
};

/// Starts the process in the group, with the three handles as its only ones, without a console of its own. Throws
/// "CreateProcess('<path>') failed", and a text of its own for a batch file with arguments that the command interpreter
/// would take for more than text.
SpawnedProcess SpawnProcess(const ProcessStart& start, const ProcessGroup& group);

} // namespace qpr
