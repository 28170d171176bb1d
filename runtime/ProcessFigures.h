#pragma once

#include <chrono>
#include <cstdint>

namespace qpr
{

/// What the system counted of an ended process. A figure that a platform does not have is 0.
struct ProcessFigures
{
    std::uint32_t processId = 0;
    std::chrono::system_clock::time_point startTime;
    std::chrono::system_clock::time_point endTime;
    std::chrono::microseconds kernelTime {0};
    std::chrono::microseconds userTime {0};
    std::uint64_t pageFaultCount = 0;
    double peakWorkingSetSizeMB = 0;
    double peakPagedPoolUsageMB = 0;
    double peakNonPagedPoolUsageMB = 0;
    double peakPageFileUsageMB = 0;
};

}
