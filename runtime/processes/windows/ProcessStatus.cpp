#include "runtime/processes/windows/ProcessStatus.h"

#include <algorithm>

#include <psapi.h>

namespace qpr
{

namespace
{

/// File times count tenths of a microsecond.
std::chrono::microseconds MicrosecondsOf(const FILETIME& time) noexcept
{
    const std::uint64_t units = std::uint64_t(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return std::chrono::microseconds(units / 10);
}

void Raise(double& sizeMB, std::size_t bytes) noexcept
{
    sizeMB = std::max(sizeMB, static_cast<double>(bytes) / 1048576);
}

} // namespace

void ReadTimes(HANDLE process, ProcessFigures& figures) noexcept
{
    FILETIME creation, exit, kernel, user;
    if (!GetProcessTimes(process, &creation, &exit, &kernel, &user))
        return;
    figures.kernelTime = MicrosecondsOf(kernel);
    figures.userTime = MicrosecondsOf(user);
}

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

} // namespace qpr
