#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string_view>

namespace qpr
{

/// What the system counted of an ended process. A figure that a platform does not have is 0.
struct ProcessFigures
{
    std::uint32_t processId = 0;
    std::chrono::system_clock::time_point startTime;
    std::chrono::system_clock::time_point endTime;
    std::chrono::microseconds kernelTime{0};
    std::chrono::microseconds userTime{0};
    std::uint64_t pageFaultCount = 0;
    double peakWorkingSetSizeMB = 0;
    double peakPagedPoolUsageMB = 0;
    double peakNonPagedPoolUsageMB = 0;
    double peakPageFileUsageMB = 0;
};

/// One line "<prefix>.<key>=<value>" per figure, each ended by a carriage return and a line feed: moments in UTC
/// ("2026-02-28 23:59:59"), times in seconds with three digits ("1.250"), sizes in MB with three digits. ProcessorUsage
/// is the number of processors kept busy on average.
void WriteProcessFigures(std::wostream& stream, std::wstring_view prefix, const ProcessFigures& figures);

} // namespace qpr
