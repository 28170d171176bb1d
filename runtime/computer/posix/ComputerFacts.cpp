#include "runtime/computer/ComputerFacts.h"

#include "runtime/computer/ControlGroup.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>

#include <hwloc.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace qpr::ComputerFacts
{

namespace
{

struct TopologyDeleter
{
    void operator()(hwloc_topology_t topology) const noexcept { hwloc_topology_destroy(topology); }
};

using Topology = std::unique_ptr<std::remove_pointer_t<hwloc_topology_t>, TopologyDeleter>;

/// Packages, cores and logical processors within this process's affinity; null when they cannot be found out.
Topology LoadTopology()
{
    hwloc_topology_t created = nullptr;
    if (hwloc_topology_init(&created) != 0)
        return nullptr;
    Topology topology(created);
    hwloc_topology_set_all_types_filter(created, HWLOC_TYPE_FILTER_KEEP_NONE);
    hwloc_topology_set_type_filter(created, HWLOC_OBJ_PACKAGE, HWLOC_TYPE_FILTER_KEEP_ALL);
    hwloc_topology_set_type_filter(created, HWLOC_OBJ_CORE, HWLOC_TYPE_FILTER_KEEP_ALL);
    // Leaves the binding alone: the application's threads are running.
    hwloc_topology_set_flags(created,
        HWLOC_TOPOLOGY_FLAG_IS_THISSYSTEM | HWLOC_TOPOLOGY_FLAG_RESTRICT_TO_CPUBINDING
            | HWLOC_TOPOLOGY_FLAG_DONT_CHANGE_BINDING);
    return hwloc_topology_load(created) == 0 ? std::move(topology) : nullptr;
}

std::uint32_t Count(const Topology& topology, hwloc_obj_type_t type)
{
    return static_cast<std::uint32_t>(std::max(hwloc_get_nbobjs_by_type(topology.get(), type), 0));
}

std::wstring ProcessorName(const Topology& topology)
{
    const hwloc_obj_t package = hwloc_get_obj_by_type(topology.get(), HWLOC_OBJ_PACKAGE, 0);
    const char* const name = package ? hwloc_obj_get_info_by_name(package, "CPUModel") : nullptr;
    return name ? FromUtf8(name) : std::wstring();
}

Processors ReadTopology()
{
    Processors processors;
    const Topology topology = LoadTopology();
    if (!topology)
    {
        processors.logicalCount = std::max(std::thread::hardware_concurrency(), 1u);
        return processors;
    }
    processors.name = ProcessorName(topology);
    processors.logicalCount = std::max(Count(topology, HWLOC_OBJ_PU), 1u);
    processors.SetLayout(Count(topology, HWLOC_OBJ_PACKAGE), Count(topology, HWLOC_OBJ_CORE));
    return processors;
}

ControlGroupLimits ContainerLimits()
{
    return ControlGroupLimits::Read("/proc/self/cgroup", "/sys/fs/cgroup");
}

utsname SystemNames()
{
    utsname names{};
    if (uname(&names) != 0)
        ThrowSystemError(L"GetComputerName() failed", L"qpr::ComputerFacts::GetHostName");
    return names;
}

} // namespace

std::wstring GetHostName()
{
    return FromUtf8(SystemNames().nodename);
}

std::wstring GetOperatingSystem()
{
    return L"Linux";
}

std::wstring GetProcessorArchitecture()
{
    const utsname names = SystemNames();
    const std::string_view machine = names.machine;
    if (machine == "x86_64")
        return L"X64";
    if (machine.size() == 4 && machine.starts_with('i') && machine.ends_with("86"))
        return L"IA32";
    if (machine == "ia64")
        return L"IA64";
    if (machine.starts_with("arm") || machine.starts_with("aarch64"))
        return L"ARM";
    return L"UnknownCpuType";
}

Processors GetProcessors()
{
    Processors processors = ReadTopology();
    const Nullable<double> quota = ContainerLimits().processors;
    if (!quota.IsNull() && quota.Value() < processors.logicalCount)
        processors.logicalCount = std::max(static_cast<std::uint32_t>(quota.Value()), 1u);
    return processors;
}

std::uint64_t GetPhysicalMemoryInBytes()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages < 0 || pageSize < 0)
        ThrowSystemError(L"GlobalMemoryStatusEx() failed", L"qpr::ComputerFacts::GetPhysicalMemoryInBytes");
    const std::uint64_t physical = static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
    const Nullable<std::uint64_t> granted = ContainerLimits().memoryInBytes;
    return granted.IsNull() ? physical : std::min(physical, granted.Value());
}

} // namespace qpr::ComputerFacts
