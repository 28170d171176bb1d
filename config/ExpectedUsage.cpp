#include "config/ExpectedUsage.h"

#include "config/UsageModel.h"

#include <algorithm>
#include <limits>

namespace qxm
{

namespace
{

float Limit(std::uint64_t whole, const qpr::Nullable<float>& fraction)
{
    const auto limit = static_cast<float>(whole);
    return fraction.IsNull() ? limit : limit * fraction.Value();
}

/// What a call of a service without formulas counts as: small enough that maxLocalServants of them fit side by side
/// however their sums round, and more than nothing.
float ShareOf(float limit, std::uint32_t maxLocalServants)
{
    constexpr double roundingRoom = 1.0 - 1.0 / 65536.0;
    return std::max(static_cast<float>(limit / static_cast<double>(maxLocalServants) * roundingRoom),
        std::numeric_limits<float>::min());
}

} // namespace

LocalLimits::LocalLimits(
    std::uint64_t processorCount, std::uint64_t physicalMemoryInMB, const LocalExecutionSettings& settings)
    : processors(Limit(processorCount, settings.processorUtilizationLimit))
    , memoryInMB(Limit(physicalMemoryInMB, settings.physicalMemoryUtilizationLimit))
{
}

std::uint32_t LocalLimits::OfferedProcessors() const noexcept
{
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    return processors >= static_cast<float>(most) ? most : std::max(static_cast<std::uint32_t>(processors), 1u);
}

ExpectedUsage ComputeExpectedUsage(const LocalServiceInfo& service,
    const std::map<std::wstring, std::wstring>& attributes, const LocalLimits& limits, std::uint32_t maxLocalServants)
{
    ExpectedUsage usage;
    if (const UsageModel* const model = service.Usage())
    {
        qexpr::ValueMap inputs = model->Bind(attributes);
        const std::uint32_t offered = limits.OfferedProcessors();
        const auto [numberOfProcessors, memoryInMB] = model->ChooseProcessors(inputs, offered, limits.memoryInMB);
        usage.numberOfProcessorsToUse = numberOfProcessors;
        usage.memoryInMB = memoryInMB;
        usage.processors = model->ProcessorUsage(inputs, numberOfProcessors != 0 ? numberOfProcessors : offered);
    }
    else
    {
        usage.processors = ShareOf(limits.processors, maxLocalServants);
        usage.memoryInMB = ShareOf(limits.memoryInMB, maxLocalServants);
    }
    usage.addressSpaceExcessInMB = usage.memoryInMB - static_cast<float>(service.servant->addressSpaceInMB);
    return usage;
}

} // namespace qxm
