#pragma once

#include "config/ConnectorSettings.h"
#include "config/ServiceInfo.h"

#include <cstdint>
#include <map>
#include <string>

namespace qxm
{

/// How much of this computer the calls of all its client processes may use together.
struct LocalLimits
{
    float processors = 0;
    float memoryInMB = 0;

    LocalLimits(std::uint64_t processorCount, std::uint64_t physicalMemoryInMB, const LocalExecutionSettings& settings);

    /// The processors that one call is offered: the limit rounded down, at least 1.
    std::uint32_t OfferedProcessors() const noexcept;
};

/// What one call is expected to need.
struct ExpectedUsage
{
    float processors = 0;
    float memoryInMB = 0;
    std::uint32_t numberOfProcessorsToUse = 0; ///< told to the servant; 0: its memory does not depend on it
    float addressSpaceExcessInMB = 0; ///< memory beyond the servant's address space; not positive when it fits
};

/// From the service's formulas and the request's attributes; a service without formulas takes an equal share of the
/// limits. UsageModel chooses the number of processors. Throws what compiling or evaluating the formulas throws. Any
/// thread may call; the caller holds a reference to the service.
ExpectedUsage ComputeExpectedUsage(const LocalServiceInfo& service,
    const std::map<std::wstring, std::wstring>& attributes, const LocalLimits& limits, std::uint32_t maxLocalServants);

} // namespace qxm
