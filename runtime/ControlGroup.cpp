#include "runtime/ControlGroup.h"

#include <algorithm>
#include <fstream>
#include <string>

namespace qpr
{

namespace
{

template <class T>
void Lower(Nullable<T>& limit, T value)
{
    limit = limit.IsNull() ? value : std::min(limit.Value(), value);
}

/// "<quota> <period>" in microseconds; a quota of "max" is none.
void ReadProcessorLimit(const std::filesystem::path& file, Nullable<double>& limit)
{
    double quota = 0;
    double period = 0;
    if (std::ifstream(file) >> quota >> period && quota > 0 && period > 0)
        Lower(limit, quota / period);
}

/// Bytes, or "max".
void ReadMemoryLimit(const std::filesystem::path& file, Nullable<std::uint64_t>& limit)
{
    std::uint64_t bytes = 0;
    if (std::ifstream(file) >> bytes)
        Lower(limit, bytes);
}

/// The group's path below the hierarchy; the line of version 2 begins with "0::".
std::filesystem::path ReadGroup(const std::filesystem::path& membership)
{
    constexpr std::string_view prefix = "0::/";
    std::ifstream file(membership);
    for (std::string line; std::getline(file, line);)
    {
        if (line.starts_with(prefix))
            return std::filesystem::path(line.substr(prefix.size())).relative_path();
    }
    return {};
}

} // namespace

ControlGroupLimits ControlGroupLimits::Read(
    const std::filesystem::path& membership, const std::filesystem::path& hierarchy)
{
    ControlGroupLimits limits;
    // A container may see its own group as the hierarchy's top, under a name that leads nowhere: every level counts.
    std::filesystem::path group = ReadGroup(membership);
    for (;;)
    {
        ReadProcessorLimit(hierarchy / group / "cpu.max", limits.processors);
        ReadMemoryLimit(hierarchy / group / "memory.max", limits.memoryInBytes);
        if (group.empty())
            return limits;
        group = group.parent_path();
    }
}

} // namespace qpr
