#pragma once

#include <cstdint>
#include <string>

/// What the system knows about the computer. Any thread may call these; each call asks the system again.
namespace qpr::ComputerFacts
{

std::wstring GetHostName();

/// As host description lines name them: "Linux", "X64".
std::wstring GetOperatingSystem();
std::wstring GetProcessorArchitecture();

struct Processors
{
    std::wstring name; ///< empty when the system does not tell
    std::uint32_t logicalCount = 1; ///< those that this process may use: its affinity and its container's quota count
    std::uint32_t packageCount = 0; ///< 0: the layout is not known or not regular
    std::uint32_t coresPerPackage = 0;
    bool areHyperThreads = false; ///< cores have several logical processors

    /// Requires: logicalCount is set. A layout that is not regular stays unknown.
    void SetLayout(std::uint32_t packages, std::uint32_t cores) noexcept
    {
        if (packages == 0 || cores == 0 || cores % packages != 0)
            return;
        packageCount = packages;
        coresPerPackage = cores / packages;
        areHyperThreads = logicalCount > cores;
    }
};

/// Takes about a millisecond on small computers, more on large ones.
Processors GetProcessors();

/// The physical memory, or what the container grants of it.
std::uint64_t GetPhysicalMemoryInBytes();

} // namespace qpr::ComputerFacts
