#include "config/LocalHost.h"

#include "runtime/computer/ComputerFacts.h"
#include "runtime/processes/CurrentProcess.h"

#include <algorithm>

namespace qxm
{

namespace
{

/// On a 64-bit system a large-address-aware 32-bit process has all that 32 bits can address.
constexpr std::uint64_t laaAddressSpaceInMB = 4096;

/// Nothing measures the processor: all computers count the same.
constexpr float cpuScore = 1.0f;

/// The name as a word that every distributor accepts.
std::wstring WordOf(std::wstring name)
{
    constexpr std::size_t maxLength = 100; // leaves room for the process id in an identifier
    name.resize(std::min(name.size(), maxLength));
    std::ranges::replace_if(
        name,
        [](wchar_t character) {
            return !HostDescription::IsIdentifier({&character, 1});
        },
        L'-');
    return name.empty() ? L"-" : name;
}

} // namespace

HostDescription DescribeLocalHost(const std::wstring& role)
{
    const qpr::ComputerFacts::Processors processors = qpr::ComputerFacts::GetProcessors();

    HostDescription host;
    host.role = role;
    host.version = libraryVersion;
    host.hostName = WordOf(qpr::ComputerFacts::GetHostName());
    host.processId = qpr::CurrentProcess::GetId();
    host.identifier = host.hostName + L"/" + std::to_wstring(host.processId);
    host.userName = qpr::CurrentProcess::GetUserName();
    host.osType = OSTypeOfKey(qpr::ComputerFacts::GetOperatingSystem());
    if (processors.packageCount > 0)
        host.cpuLayout = CpuLayout{processors.packageCount, processors.coresPerPackage, processors.areHyperThreads};
    host.cpuCount = processors.logicalCount;
    host.cpuType = CpuTypeOfKey(qpr::ComputerFacts::GetProcessorArchitecture());
    host.cpuInfo = processors.name;
    host.cpuScore = cpuScore;
    host.memorySizeInMB = qpr::ComputerFacts::GetPhysicalMemoryInBytes() / bytesPerMB;
    host.laaAddressSpaceInMB = laaAddressSpaceInMB;
    return host;
}

} // namespace qxm
