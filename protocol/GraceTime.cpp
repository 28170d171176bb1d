#include "protocol/GraceTime.h"

#include "runtime/threads/Cancellation.h"
#include "runtime/threads/Thread.h"

#include <algorithm>
#include <array>

namespace qxm
{

void GraceTimer::Start(std::uint32_t timeMs) noexcept
{
    const Clock::rep end = (Clock::now() + std::chrono::milliseconds(timeMs)).time_since_epoch().count();
    for (Clock::rep earlier = m_end; end < earlier && !m_end.compare_exchange_weak(earlier, end);)
        continue;
}

std::uint32_t GraceTimer::LeftMs() const noexcept
{
    const Clock::rep end = m_end;
    if (end == never)
        return qpr::Infinite;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(Clock::duration(end) - Clock::now().time_since_epoch());
    return static_cast<std::uint32_t>(std::max<long long>(left.count(), 0));
}

bool GraceTimer::WaitFor(
    const qpr::WaitObject& object, const qpr::Cancellation& cancellation, std::uint32_t timeAfterCancelMs)
{
    constexpr wchar_t location[] = L"qxm::GraceTimer::WaitFor";
    if (!cancellation.IsCancelled())
    {
        const std::array<qpr::WaitObject, 2> objects{object, cancellation.Object()};
        const int signalled = qpr::Thread::TryWaitForAnyObject(objects, location, LeftMs());
        if (signalled <= 0)
            return signalled == 0;
    }
    Start(timeAfterCancelMs);
    return qpr::Thread::TryWaitForObject(object, location, LeftMs());
}

} // namespace qxm
