#include "protocol/ExecutionInfoRecord.h"

#include "runtime/processes/ProcessFigures.h"

#include <string_view>

namespace qxm
{

namespace
{

constexpr const wchar_t* lineEnd = L"\r\n";

/// Path, "execute" and service name come before the arguments that the record lists.
constexpr std::size_t namedArgumentsStart = 3;

template <class Value>
void Line(std::wostream& output, std::wstring_view key, const Value& value)
{
    output << key << L'=' << value << lineEnd;
}

void WriteService(std::wostream& output, const LocalServiceInfo& service)
{
    const ServantInfo& servant = *service.servant;
    Line(output, L"ServiceInfo.ServiceName", service.name);
    Line(output, L"ServiceInfo.ExpectedProcessorUsage", service.expectedProcessorUsage);
    Line(output, L"ServiceInfo.ExpectedMemoryUsageInMB", service.expectedMemoryUsageInMB);
    Line(output, L"ServiceInfo.ExpectedResourceUsageHelpers", service.expectedResourceUsageHelpers);
    Line(output, L"ServiceInfo.AbsoluteServantPath", servant.executablePath);
    Line(output, L"ServiceInfo.ServantIs32Bit", servant.is32Bit ? 1 : 0);
    if (servant.addressSpaceInMB == 0)
        Line(output, L"ServiceInfo.AvailableAddressSpaceInMB", L"<null>");
    else
        Line(output, L"ServiceInfo.AvailableAddressSpaceInMB", servant.addressSpaceInMB);
    Line(output, L"ServiceInfo.ServantLibraryVersion",
        servant.libraryVersion.IsNull() ? std::wstring() : servant.libraryVersion.Value().ToText());
}

void WriteHost(std::wostream& output, const HostDescription& host)
{
    Line(output, L"Host.Name", host.hostName);
    Line(output, L"Host.OperatingSystem", OSTypeName(host.osType));
    Line(output, L"Host.CpuType", CpuTypeName(host.cpuType));
    Line(output, L"Host.CpuCount", host.cpuCount);
    Line(output, L"Host.CpuInfo", host.cpuInfo);
    Line(output, L"Host.CpuLayout", host.cpuLayout.IsNull() ? std::wstring() : host.cpuLayout.Value().ToText());
    Line(output, L"Host.CpuScore", host.cpuScore);
    Line(output, L"Host.PhysicalMemorySizeInMB", host.memorySizeInMB);
    Line(output, L"Host.LargeAddressAwareApplicationAddressSpaceInMB", host.laaAddressSpaceInMB);
}

} // namespace

void WriteExecutionInfoRecord(std::wostream& output, const ExecutionInfo& info)
{
    output << L"[ServiceExecutionInfo]" << lineEnd;
    WriteService(output, info.service);
    for (const auto& [key, value] : info.attributes)
        Line(output, L"ServiceRequest." + key, value);
    Line(output, L"Executor.Id", info.clientIdentifier);
    Line(output, L"Executor.Role", info.host.role);
    Line(output, L"Executor.SoftwareVersion", info.host.version.ToText());
    Line(output, L"Executor.ProcessId", info.host.processId);
    WriteHost(output, info.host);
    for (std::size_t i = namedArgumentsStart; i < info.servantCommandLine.size(); ++i)
        output << L"Servant." << info.servantCommandLine[i] << lineEnd;
    Line(output, L"Servant.ExpectedProcessorUsage", info.expectedUsage.processors);
    Line(output, L"Servant.ExpectedMemoryUsageInMB", info.expectedUsage.memoryInMB);
    qpr::WriteProcessFigures(output, L"Servant", info.figures);
    output << L"[/ServiceExecutionInfo]" << lineEnd;
}

} // namespace qxm
