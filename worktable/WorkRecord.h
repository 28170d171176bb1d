#pragma once

#include <cstdint>

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

} // namespace qxm
