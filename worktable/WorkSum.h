#pragma once

#include "worktable/WorkRecord.h"
#include "worktable/WorkTableLayout.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>

namespace qxm
{

/// Adds up what rows say. What no honest owner writes (negative, not finite) counts as 0, and the number of jobs
/// saturates.
class WorkSum
{
public:
    void Add(const layout::WorkFields& work) noexcept
    {
        m_jobs += work.jobs;
        m_processors += Sane(work.resources.processors);
        m_memoryInMB += Sane(work.resources.memoryInMB);
    }

    Work Total() const noexcept
    {
        const std::uint64_t jobs = std::min<std::uint64_t>(m_jobs, std::numeric_limits<std::uint32_t>::max());
        return {static_cast<std::uint32_t>(jobs), m_processors, m_memoryInMB};
    }

private:
    /// As bits, the negative and the not finite are the largest. By a mask and not a branch: this is most of what a
    /// look at the table costs.
    static float Sane(float value) noexcept
    {
        constexpr std::uint32_t infinity = 0x7F800000;
        const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
        return std::bit_cast<float>(bits & (0U - static_cast<std::uint32_t>(bits < infinity)));
    }

    std::uint64_t m_jobs = 0;
    float m_processors = 0;
    float m_memoryInMB = 0;
};

inline WorkRecord ToRecord(const layout::Row& row) noexcept
{
    const auto toWork = [](const layout::WorkFields& fields) -> Work {
        return {fields.jobs, fields.resources.processors, fields.resources.memoryInMB};
    };
    return {toWork(row.activeWork), toWork(row.pendingWork)};
}

inline layout::WorkFields ToFields(const Work& work) noexcept
{
    return {work.jobs, {work.processors, work.memoryInMB}};
}

} // namespace qxm
