#pragma once

#include "worktable/WorkTableLayout.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace qxm
{

/// A number of calls and what they use together.
struct Work
{
    std::uint32_t jobs = 0;
    float processors = 0;
    float memoryInMB = 0;

    friend bool operator==(const Work&, const Work&) = default;
};

/// What a job manager tells the others about itself.
struct WorkRecord
{
    Work active; ///< the calls it runs
    Work pending; ///< the calls that wait for admission

    friend bool operator==(const WorkRecord&, const WorkRecord&) = default;
};

/// An amount as it is counted. Negative values and NaN count as nothing. Infinity counts as more than any limit but is
/// still a number, so that sums of it can be compared and subtracted from.
inline float SaneAmount(double value) noexcept
{
    return value > 0 ? static_cast<float>(std::min<double>(value, std::numeric_limits<float>::max())) : 0;
}

/// Adds up what rows say, whoever wrote it: amounts are made sane, and the number of jobs saturates.
class WorkSum
{
public:
    void Add(const layout::WorkFields& work) noexcept
    {
        m_jobs += work.jobs;
        m_processors = SaneAmount(m_processors + SaneAmount(work.resources.processors));
        m_memoryInMB = SaneAmount(m_memoryInMB + SaneAmount(work.resources.memoryInMB));
    }

    Work Total() const noexcept
    {
        const std::uint64_t jobs = std::min<std::uint64_t>(m_jobs, std::numeric_limits<std::uint32_t>::max());
        return {static_cast<std::uint32_t>(jobs), m_processors, m_memoryInMB};
    }

private:
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
