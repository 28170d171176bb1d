#include "worktable/TableMutex.h"

#include <algorithm>
#include <chrono>

namespace qxm
{

void AcquireTableMutex(qpr::ProcessMutex& mutex, std::uint32_t timeoutMs)
{
    using namespace std::chrono;
    try
    {
        return mutex.Acquire(timeoutMs);
    }
    catch (const qpr::AbandonedMutexError&)
    {
    }
    const auto end = steady_clock::now() + milliseconds(timeoutMs);
    for (;;)
    {
        try
        {
            const auto leftMs = duration_cast<milliseconds>(end - steady_clock::now()).count();
            return mutex.Acquire(static_cast<std::uint32_t>(std::max<std::int64_t>(leftMs, 0)));
        }
        catch (const qpr::AbandonedMutexError&)
        {
            if (steady_clock::now() >= end)
                throw;
        }
    }
}

} // namespace qxm
