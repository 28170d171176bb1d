#pragma once

#include "runtime/Nullable.h"

#include <cstdint>
#include <filesystem>

namespace qpr
{

/// What a container grants a process, read from the files of its control groups (of either version) and of the groups
/// above them.
struct ControlGroupLimits
{
    Nullable<double> processors; ///< processor time per time; null: not limited
    Nullable<std::uint64_t> memoryInBytes; ///< null: not limited

    /// membership is the file that names a process's group ("/proc/self/cgroup"), hierarchy the directory that holds
    /// the groups ("/sys/fs/cgroup"): those of version 2 directly, those of version 1 in a directory per controller.
    /// What cannot be read limits nothing.
    static ControlGroupLimits Read(const std::filesystem::path& membership, const std::filesystem::path& hierarchy);
};

} // namespace qpr
