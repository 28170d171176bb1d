#pragma once

#include "client/CallNeeds.h"
#include "config/ConnectorSettings.h"
#include "config/ExpectedUsage.h"

#include <cstddef>
#include <cstdint>

namespace QxClient
{

/// What all client processes of this computer run now.
struct LocalLoad
{
    std::uint32_t calls = 0;
    float processors = 0;
    float memoryInMB = 0;
};

/// The local admission rule. An idle computer takes any call, however large; small calls do not wait for processors
/// while this connector runs few; otherwise the load with the call must stay within the limits. Equality with a limit
/// admits.
bool IsAdmitted(const CallNeeds& needs, const LocalLoad& load, std::size_t ownRunningCalls,
    const qxm::LocalLimits& limits, const qxm::LocalExecutionSettings& settings) noexcept;

} // namespace QxClient
