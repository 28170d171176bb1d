#include "runtime/computer/ComputerFacts.h"

#include "runtime/text/Errors.h"
#include "runtime/text/windows/SystemHeaders.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <iterator>
#include <vector>

#include <winternl.h>

namespace qpr::ComputerFacts
{

namespace
{

/// The system's real version: other calls return the version that a program was made for.
RTL_OSVERSIONINFOEXW SystemVersion()
{
    using GetVersion = NTSTATUS(NTAPI*)(RTL_OSVERSIONINFOEXW*);
    RTL_OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof version;
    const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion");
    if (found)
        reinterpret_cast<GetVersion>(reinterpret_cast<void*>(found))(&version);
    return version;
}

/// One processor core or package.
using ProcessorEntry = SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX;

/// All entries of a kind, and the memory that they lie in; empty when the system does not tell.
class ProcessorEntries
{
public:
    explicit ProcessorEntries(LOGICAL_PROCESSOR_RELATIONSHIP kind)
    {
        DWORD size = 0;
        GetLogicalProcessorInformationEx(kind, nullptr, &size);
        m_room.resize(size);
        if (size == 0 || !GetLogicalProcessorInformationEx(kind, At(0), &size))
            m_room.clear();
    }

    template <class Action>
    void ForEach(Action action)
    {
        for (std::size_t offset = 0; offset < m_room.size(); offset += At(offset)->Size)
            action(At(offset)->Processor);
    }

private:
    ProcessorEntry* At(std::size_t offset) noexcept
    {
        return reinterpret_cast<ProcessorEntry*>(m_room.data() + offset);
    }

    std::vector<std::byte> m_room;
};

/// The processors that this process may use. A process whose affinity is not all of its group's lives in that group
/// alone.
class UsableProcessors
{
public:
    UsableProcessors()
    {
        DWORD_PTR system = 0;
        m_isBound = GetProcessAffinityMask(GetCurrentProcess(), &m_own, &system) && m_own != 0 && m_own != system;
        USHORT count = 1;
        GetProcessGroupAffinity(GetCurrentProcess(), &count, &m_group);
    }

    /// How many of them are in the mask.
    std::uint32_t CountIn(const PROCESSOR_RELATIONSHIP& processor) const noexcept
    {
        std::uint32_t count = 0;
        for (WORD i = 0; i < processor.GroupCount; ++i)
            count += CountIn(processor.GroupMask[i]);
        return count;
    }

private:
    std::uint32_t CountIn(const GROUP_AFFINITY& affinity) const noexcept
    {
        if (!m_isBound)
            return static_cast<std::uint32_t>(std::popcount(affinity.Mask));
        return affinity.Group == m_group ? static_cast<std::uint32_t>(std::popcount(affinity.Mask & m_own)) : 0;
    }

    DWORD_PTR m_own = 0;
    USHORT m_group = 0;
    bool m_isBound;
};

std::wstring ProcessorName()
{
    wchar_t name[256];
    DWORD size = sizeof name;
    const LSTATUS result = RegGetValueW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
        L"ProcessorNameString", RRF_RT_REG_SZ, nullptr, name, &size);
    if (result != ERROR_SUCCESS)
        return {};
    std::wstring text = name;
    text.erase(text.find_last_not_of(L' ') + 1);
    return text;
}

} // namespace

std::wstring GetHostName()
{
    wchar_t name[256];
    DWORD size = std::size(name);
    if (!GetComputerNameExW(ComputerNamePhysicalDnsHostname, name, &size))
        ThrowSystemError(L"GetComputerName() failed", L"qpr::ComputerFacts::GetHostName");
    return name;
}

std::wstring GetOperatingSystem()
{
    struct Row
    {
        DWORD major;
        DWORD minor;
        const wchar_t* workstation;
        const wchar_t* server;
    };
    constexpr Row rows[] = {
        {5, 0, L"Windows2000", L"Windows2000"},
        {5, 1, L"WindowsXP", L"WindowsXP"},
        {5, 2, L"WindowsXP", L"WindowsServer2003"},
        {6, 0, L"WindowsVista", L"WindowsServer2008"},
        {6, 1, L"Windows7", L"WindowsServer2008R2"},
        {6, 2, L"Windows8", L"WindowsServer2012"},
        {6, 3, L"Windows81", L"WindowsServer2012R2"},
        {10, 0, L"Windows10", L"WindowsServer2016"},
    };
    const RTL_OSVERSIONINFOEXW version = SystemVersion();
    const auto row = std::ranges::find_if(rows,
        [&](const Row& known)
        { return known.major == version.dwMajorVersion && known.minor == version.dwMinorVersion; });
    if (row == std::end(rows))
        return L"UnknownWindows";
    return version.wProductType == VER_NT_WORKSTATION ? row->workstation : row->server;
}

std::wstring GetProcessorArchitecture()
{
    SYSTEM_INFO info{};
    GetNativeSystemInfo(&info);
    switch (info.wProcessorArchitecture)
    {
    case PROCESSOR_ARCHITECTURE_AMD64:
        return L"X64";
    case PROCESSOR_ARCHITECTURE_INTEL:
        return L"IA32";
    case PROCESSOR_ARCHITECTURE_IA64:
        return L"IA64";
    case PROCESSOR_ARCHITECTURE_ARM:
    case PROCESSOR_ARCHITECTURE_ARM64:
        return L"ARM";
    default:
        return L"UnknownCpuType";
    }
}

Processors GetProcessors()
{
    const UsableProcessors usable;
    std::uint32_t logicalCount = 0;
    std::uint32_t coreCount = 0;
    std::uint32_t packageCount = 0;
    ProcessorEntries(RelationProcessorCore)
        .ForEach(
            [&](const PROCESSOR_RELATIONSHIP& core)
            {
                const std::uint32_t count = usable.CountIn(core);
                logicalCount += count;
                coreCount += count > 0;
            });
    ProcessorEntries(RelationProcessorPackage)
        .ForEach([&](const PROCESSOR_RELATIONSHIP& package) { packageCount += usable.CountIn(package) > 0; });

    Processors processors;
    processors.name = ProcessorName();
    processors.logicalCount = std::max(logicalCount, 1u);
    processors.SetLayout(packageCount, coreCount);
    return processors;
}

std::uint64_t GetPhysicalMemoryInBytes()
{
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!GlobalMemoryStatusEx(&status))
        ThrowSystemError(L"GlobalMemoryStatusEx() failed", L"qpr::ComputerFacts::GetPhysicalMemoryInBytes");
    return status.ullTotalPhys;
}

} // namespace qpr::ComputerFacts
