#include "worktable/TableMutex.h"

#include "runtime/threads/Deadline.h"

namespace qxm
{

void AcquireTableMutex(qpr::ProcessMutex& mutex, std::uint32_t timeoutMs)
{
    try
    {
        return mutex.Acquire(timeoutMs);
    }
    catch (const qpr::AbandonedMutexError&)
    {
    }
    for (const qpr::Deadline deadline(timeoutMs);;)
    {
        try
        {
            return mutex.Acquire(deadline.LeftMs());
        }
        catch (const qpr::AbandonedMutexError&)
        {
            if (deadline.HasPassed())
                throw;
        }
    }
}

} // namespace qxm
