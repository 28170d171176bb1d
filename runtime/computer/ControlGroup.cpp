#include "runtime/computer/ControlGroup.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace qpr
{

namespace
{

template <class T>
void Lower(Nullable<T>& limit, T value)
{
    limit = limit.IsNull() ? value : std::min(limit.Value(), value);
}

/// A quota is microseconds of processor time per period; "max", or -1 in version 1, means no limit.
void ReadProcessorLimit(std::istream& quotaSource, std::istream& periodSource, Nullable<double>& limit)
{
    double quota = 0;
    double period = 0;
    if (quotaSource >> quota && periodSource >> period && quota > 0 && period > 0)
        Lower(limit, quota / period);
}

/// Bytes, or "max", for which version 1 has a number beyond any memory.
void ReadMemoryLimit(const std::filesystem::path& file, Nullable<std::uint64_t>& limit)
{
    std::uint64_t bytes = 0;
    if (std::ifstream(file) >> bytes)
        Lower(limit, bytes);
}

/// Whether a list "cpu,cpuacct" names the controller.
bool Lists(const std::string& controllers, const std::string& controller)
{
    return ("," + controllers + ",").find("," + controller + ",") != std::string::npos;
}

/// The group's path below the controller's hierarchy, then those above it, the hierarchy's top (an empty path) last.
/// Lines are "<number>:<controllers>:/<path>"; that of version 2 names no controllers. A container may see its own
/// group as the hierarchy's top, under a name that leads nowhere: every level counts.
std::vector<std::filesystem::path> ReadGroups(const std::filesystem::path& membership, const std::string& controller)
{
    std::vector<std::filesystem::path> groups;
    std::ifstream file(membership);
    std::string number, controllers, path;
    while (std::getline(file, number, ':') && std::getline(file, controllers, ':') && std::getline(file, path))
    {
        if (!Lists(controllers, controller))
            continue;
        for (auto group = std::filesystem::path(path).relative_path(); !group.empty(); group = group.parent_path())
            groups.push_back(group);
        break;
    }
    groups.emplace_back();
    return groups;
}

} // namespace

ControlGroupLimits ControlGroupLimits::Read(
    const std::filesystem::path& membership, const std::filesystem::path& hierarchy)
{
    ControlGroupLimits limits;
    for (const auto& group : ReadGroups(membership, ""))
    {
        std::ifstream processors(hierarchy / group / "cpu.max");
        ReadProcessorLimit(processors, processors, limits.processors);
        ReadMemoryLimit(hierarchy / group / "memory.max", limits.memoryInBytes);
    }
    // Version 1 has one hierarchy per controller.
    for (const auto& group : ReadGroups(membership, "cpu"))
    {
        const auto directory = hierarchy / "cpu" / group;
        std::ifstream quota(directory / "cpu.cfs_quota_us");
        std::ifstream period(directory / "cpu.cfs_period_us");
        ReadProcessorLimit(quota, period, limits.processors);
    }
    for (const auto& group : ReadGroups(membership, "memory"))
        ReadMemoryLimit(hierarchy / "memory" / group / "memory.limit_in_bytes", limits.memoryInBytes);
    return limits;
}

} // namespace qpr
