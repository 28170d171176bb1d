#include "runtime/processes/SystemProcess.h"

#include "runtime/processes/windows/ProcessSpawn.h"

#include <algorithm>

#include <psapi.h>

namespace qpr
{

namespace
{

/// The exit code of a process that we end: the number that it has on other systems.
constexpr std::uint32_t exitCodeTerminated = 137;

/// File times count tenths of a microsecond.
std::chrono::microseconds MicrosecondsOf(const FILETIME& time) noexcept
{
    const std::uint64_t units = std::uint64_t(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return std::chrono::microseconds(units / 10);
}

/// Fills in the times that the process has used so far.
void ReadTimes(HANDLE process, ProcessFigures& figures) noexcept
{
    FILETIME creation, exit, kernel, user;
    if (!GetProcessTimes(process, &creation, &exit, &kernel, &user))
        return;
    figures.kernelTime = MicrosecondsOf(kernel);
    figures.userTime = MicrosecondsOf(user);
}

void Raise(double& sizeMB, std::size_t bytes) noexcept
{
    sizeMB = std::max(sizeMB, static_cast<double>(bytes) / 1048576);
}

/// Fills in the peaks of memory and the page faults so far. Figures that the system no longer knows stay as they are.
void ReadMemory(HANDLE process, ProcessFigures& figures) noexcept
{
    PROCESS_MEMORY_COUNTERS counters{};
    if (!GetProcessMemoryInfo(process, &counters, sizeof counters))
        return;
    figures.pageFaultCount = std::max<std::uint64_t>(figures.pageFaultCount, counters.PageFaultCount);
    Raise(figures.peakWorkingSetSizeMB, counters.PeakWorkingSetSize);
    Raise(figures.peakPagedPoolUsageMB, counters.QuotaPeakPagedPoolUsage);
    Raise(figures.peakNonPagedPoolUsageMB, counters.QuotaPeakNonPagedPoolUsage);
    Raise(figures.peakPageFileUsageMB, counters.PeakPagefileUsage);
}

/// Closing the job, also by this process's death, ends the processes that still run in it.
ProcessGroup CreateGroup() noexcept
{
    ProcessGroup job(NativeHandleOf(CreateJobObjectW(nullptr, nullptr)));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    const bool isReady = job.IsValid()
        && SetInformationJobObject(SystemHandleOf(job), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return isReady ? std::move(job) : ProcessGroup();
}

} // namespace

struct SystemProcess::Native
{
    explicit Native(const ProcessStart& start)
        : spawned(SpawnProcess(start, group))
        , handle(SystemHandleOf(spawned.process))
    {
    }

    bool WaitForEnd(DWORD timeoutMs) const noexcept { return WaitForSingleObject(handle, timeoutMs) == WAIT_OBJECT_0; }

    const ProcessGroup group = CreateGroup();
    const SpawnedProcess spawned;
    const HANDLE handle; ///< not owned: that of the spawned process
};

SystemProcess::SystemProcess(const ProcessStart& start)
    : m_native(std::make_unique<Native>(start))
{
}

SystemProcess::~SystemProcess() = default;

std::uint32_t SystemProcess::Id() const noexcept
{
    return m_native->spawned.processId;
}

WaitObject SystemProcess::EndObject() const noexcept
{
    return {m_native->spawned.process.Get(), WaitObject::Kind_State};
}

void SystemProcess::SetPriorityLevel(PriorityLevel level) noexcept
{
    constexpr DWORD classes[] = {
        HIGH_PRIORITY_CLASS, NORMAL_PRIORITY_CLASS, BELOW_NORMAL_PRIORITY_CLASS, IDLE_PRIORITY_CLASS};
    SetPriorityClass(m_native->handle, classes[static_cast<int>(level)]);
}

void SystemProcess::NotePeakMemory(ProcessFigures& figures) noexcept
{
    ReadMemory(m_native->handle, figures);
}

bool SystemProcess::IsEnded() const noexcept
{
    return m_native->WaitForEnd(0);
}

void SystemProcess::Kill() noexcept
{
    if (m_native->group.IsValid())
        TerminateJobObject(SystemHandleOf(m_native->group), exitCodeTerminated);
    TerminateProcess(m_native->handle, exitCodeTerminated); // may not be in the group
    m_native->WaitForEnd(INFINITE);
}

ChildProcess::ExitStatus SystemProcess::Peek() const noexcept
{
    DWORD exitCode = 0;
    if (!GetExitCodeProcess(m_native->handle, &exitCode))
        return {};
    return {true, exitCode, 0};
}

ChildProcess::ExitStatus SystemProcess::Collect(ProcessFigures& figures) noexcept
{
    ReadTimes(m_native->handle, figures);
    ReadMemory(m_native->handle, figures);
    return Peek();
}

} // namespace qpr
