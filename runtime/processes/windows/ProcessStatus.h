#pragma once

#include "runtime/processes/ProcessFigures.h"
#include "runtime/text/windows/SystemHeaders.h"

/// What the system tells of a process through its handle.
namespace qpr
{

/// Fills in the times that the process has used so far.
void ReadTimes(HANDLE process, ProcessFigures& figures) noexcept;

/// Fills in the peaks of memory and the page faults so far; figures that the system does not tell any more stay.
void ReadMemory(HANDLE process, ProcessFigures& figures) noexcept;

} // namespace qpr
