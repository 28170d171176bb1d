#pragma once

#include "runtime/threads/WaitObject.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

namespace qpr
{
class Cancellation;
}

namespace qxm
{

/// How long a servant that is to stop may take, and how long what an ended servant left behind may go on.
inline constexpr std::uint32_t graceTimeMs = 5000;

/// One servant's grace time. All that has to end shares it, so that waits never add up. It starts with the first
/// reason: a cancel, or the servant's own end. Any thread may use it.
class GraceTimer
{
public:
    /// The time is over in this many milliseconds, unless an earlier end has been set.
    void Start(std::uint32_t timeMs) noexcept;

    /// Infinite before the start, 0 once the time is over.
    std::uint32_t LeftMs() const noexcept;

    /// Waits for the object until the time is over, for ever before the start; a cancel starts it. False when the
    /// object is not signalled by then. Requires: the thread is not interruptible.
    bool WaitFor(const qpr::WaitObject& object, const qpr::Cancellation& cancellation,
        std::uint32_t timeAfterCancelMs = graceTimeMs);

private:
    using Clock = std::chrono::steady_clock;
    static constexpr Clock::rep never = std::numeric_limits<Clock::rep>::max();

    std::atomic<Clock::rep> m_end = never;
};

} // namespace qxm
