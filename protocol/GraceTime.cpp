#include "protocol/GraceTime.h"

#include "runtime/Cancellation.h"
#include "runtime/Thread.h"

#include <array>

namespace qxm
{

bool WaitWithGrace(
    const qpr::WaitObject& object, const qpr::Cancellation& cancellation, bool hurry, std::uint32_t graceMs)
{
    if (!hurry)
    {
        const std::array<qpr::WaitObject, 2> objects{object, cancellation.Object()};
        if (qpr::Thread::WaitForAnyObject(objects, L"qxm::WaitWithGrace") == 0)
            return true;
    }
    return qpr::Thread::TryWaitForObject(object, L"qxm::WaitWithGrace", graceMs);
}

} // namespace qxm
