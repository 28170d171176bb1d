#include "runtime/EagerWaiter.h"

#include "runtime/Thread.h"

#include <chrono>
#include <thread>

namespace qpr
{
namespace
{

constexpr std::chrono::microseconds lookingTime(60); // about what sleeping and being woken takes

} // namespace

void EagerWaiter::WaitFor(const WaitObject& object, const wchar_t* location) const
{
    using Clock = std::chrono::steady_clock;
    constexpr bool timeoutsAllowed = true;
    const Clock::time_point end = Clock::now() + lookingTime;
    do
    {
        if (Thread::WaitForObject(object, location, 0, timeoutsAllowed))
            return;
        std::this_thread::yield();
    } while (Clock::now() < end);
    m_other.WaitFor(object, location);
}

} // namespace qpr
