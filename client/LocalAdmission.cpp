#include "client/LocalAdmission.h"

namespace QxClient
{

bool IsAdmitted(const CallNeeds& needs, const LocalLoad& load, std::size_t ownRunningCalls,
    const qxm::LocalLimits& limits, const qxm::LocalExecutionSettings& settings) noexcept
{
    if (load.calls == 0)
        return true;
    if (settings.noWaitCallMemoryUsageLimitInMB > needs.memoryInMB && ownRunningCalls < settings.maxRunningNoWaitCalls)
        return true;
    if (load.processors + needs.processors > limits.processors)
        return false;
    return !(needs.memoryInMB + load.memoryInMB > limits.memoryInMB);
}

} // namespace QxClient
