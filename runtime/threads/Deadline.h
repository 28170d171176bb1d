#pragma once

#include "runtime/threads/Thread.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace qpr
{

/// The moment at which a wait of several parts runs out of time. Reads the clock only when there is such a moment.
class Deadline
{
public:
    explicit Deadline(std::uint32_t timeoutMs) noexcept
        : m_timeoutMs(timeoutMs)
    {
        if (IsMoment())
            m_end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    }

    /// The time left as a timeout, rounded up; 0 once it has passed, Infinite without a limit.
    std::uint32_t LeftMs() const noexcept
    {
        if (!IsMoment())
            return m_timeoutMs;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now()).count();
        return static_cast<std::uint32_t>(std::clamp<long long>(left, 0, m_timeoutMs));
    }

    bool HasPassed() const noexcept { return LeftMs() == 0; }

private:
    using Clock = std::chrono::steady_clock;

    bool IsMoment() const noexcept { return m_timeoutMs != 0 && m_timeoutMs != Infinite; }

    std::uint32_t m_timeoutMs;
    Clock::time_point m_end;
};

} // namespace qpr
