#include "runtime/processes/windows/SystemProcess.h"

#include "runtime/processes/windows/ProcessSpawn.h"
#include "runtime/processes/windows/ProcessStatus.h"

namespace qpr
{

namespace
{

/// Of a process that was ended from outside; the number that it has on other systems.
constexpr std::uint32_t exitCodeTerminated = 137;

} // namespace

SystemProcess::SystemProcess(const ProcessStart& start)
{
    SpawnedProcess spawned = SpawnProcess(start, m_group);
    m_process = std::move(spawned.process);
    m_processId = spawned.processId;
}

SystemProcess::~SystemProcess() = default;

bool SystemProcess::WaitForEnd(DWORD timeoutMs) const noexcept
{
    return WaitForSingleObject(m_process.Value(), timeoutMs) == WAIT_OBJECT_0;
}

void SystemProcess::Kill() noexcept
{
    m_group.Terminate(exitCodeTerminated);
    TerminateProcess(m_process.Value(), exitCodeTerminated); // may not be in the group
    WaitForEnd(INFINITE);
}

ChildProcess::ExitStatus SystemProcess::Peek() const noexcept
{
    DWORD exitCode = 0;
    if (!GetExitCodeProcess(m_process.Value(), &exitCode))
        return {};
    return {true, exitCode, 0};
}

ChildProcess::ExitStatus SystemProcess::Collect(ProcessFigures& figures) noexcept
{
    ReadTimes(m_process.Value(), figures);
    ReadMemory(m_process.Value(), figures);
    return Peek();
}

void SystemProcess::SetPriorityLevel(PriorityLevel level) noexcept
{
    constexpr DWORD classes[] = {
        HIGH_PRIORITY_CLASS, NORMAL_PRIORITY_CLASS, BELOW_NORMAL_PRIORITY_CLASS, IDLE_PRIORITY_CLASS};
    SetPriorityClass(m_process.Value(), classes[static_cast<int>(level)]);
}

void SystemProcess::NotePeakMemory(ProcessFigures& figures) noexcept
{
    ReadMemory(m_process.Value(), figures);
}

} // namespace qpr
