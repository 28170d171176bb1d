#pragma once

#include <cstddef>
#include <string>

namespace qx
{

/// How far a batch is.
struct BatchCounts
{
    std::size_t total = 0; ///< without those skipped
    std::size_t skipped = 0;
    std::size_t started = 0; ///< calls whose servant was reached
    std::size_t endedAfterStart = 0;
    std::size_t done = 0;
    std::size_t failed = 0;
    std::size_t interrupted = 0;

    std::size_t Ended() const noexcept { return done + failed + interrupted; }
    std::size_t Running() const noexcept { return started - endedAfterStart; }
    std::size_t Pending() const noexcept { return total - Ended() - Running(); }
};

/// "[####----] 5 done, 0 failed, 2 running, 3 pending, 1.2/s, 0:05 left"
std::string DescribeProgress(const BatchCounts& counts, double elapsedSeconds);

/// "5 done, 1 failed, 2.5 s, 2.4 calls/s"; those interrupted and skipped are told when there are any. Only calls that
/// were not interrupted count for the rate.
std::string DescribeSummary(const BatchCounts& counts, double elapsedSeconds);

} // namespace qx
