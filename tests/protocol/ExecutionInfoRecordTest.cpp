#include "protocol/ExecutionInfoRecord.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(ExecutionInfoRecord, TellsEverythingInItsOrder)
{
    const auto servant = qpr::MakeCounted<qxm::ServantInfo>();
    servant->executablePath = L"/opt/solver";
    const auto service = qpr::MakeCounted<qxm::LocalServiceInfo>(servant);
    service->name = L"Solve";
    service->expectedProcessorUsage = L"P";
    service->expectedMemoryUsageInMB = L"M * 2";
    service->expectedResourceUsageHelpers = L"M = 1;";
    const qxm::ExpectedUsage usage{2.5f, 600, 0, 0};
    const qxm::HostDescription client{L"client", L"", {15, 1, 1, 1}, L"here", 7, L"", qxm::OSType::Linux,
        qxm::CpuLayout{2, 4, true}, 16, qxm::CpuType::X64, L"Fast CPU", 1.5f, 16000, 4096, {}, {}};
    const auto write = [&](const qxm::ServiceRequestAttributes& attributes, const std::vector<std::wstring>& words)
    {
        std::wostringstream text;
        qxm::WriteExecutionInfoRecord(text, {*service, attributes, client, L"here/7", words, usage, {}});
        return text.str();
    };

    std::wostringstream figures;
    qpr::WriteProcessFigures(figures, L"Servant", {});
    const std::wstring servantFacts =
        L"[ServiceExecutionInfo]\r\nServiceInfo.ServiceName=Solve\r\nServiceInfo.ExpectedProcessorUsage=P\r\n"
        L"ServiceInfo.ExpectedMemoryUsageInMB=M * 2\r\nServiceInfo.ExpectedResourceUsageHelpers=M = 1;\r\n"
        L"ServiceInfo.AbsoluteServantPath=/opt/solver\r\n";
    const std::wstring hostFacts =
        L"Executor.Id=here/7\r\nExecutor.Role=client\r\nExecutor.SoftwareVersion=15.1.1.1\r\nExecutor.ProcessId=7\r\n"
        L"Host.Name=here\r\nHost.OperatingSystem=Linux\r\nHost.CpuType=X64\r\nHost.CpuCount=16\r\n"
        L"Host.CpuInfo=Fast CPU\r\nHost.CpuLayout=2 x 4-Core (HT)\r\nHost.CpuScore=1.5\r\n"
        L"Host.PhysicalMemorySizeInMB=16000\r\nHost.LargeAddressAwareApplicationAddressSpaceInMB=4096\r\n";
    const std::wstring end = L"Servant.ExpectedProcessorUsage=2.5\r\nServant.ExpectedMemoryUsageInMB=600\r\n"
        + figures.str() + L"[/ServiceExecutionInfo]\r\n";

    EXPECT_EQ(write({}, {L"/opt/solver", L"execute", L"Solve"}),
        servantFacts
            + L"ServiceInfo.ServantIs32Bit=1\r\nServiceInfo.AvailableAddressSpaceInMB=2048\r\n"
              L"ServiceInfo.ServantLibraryVersion=\r\n"
            + hostFacts + end);

    servant->is32Bit = false;
    servant->addressSpaceInMB = 0;
    servant->libraryVersion = qxm::Version{11, 0, 0, 3, 64};
    EXPECT_EQ(write({{L"Size", L"3"}, {L"Mode", L"fast"}}, {L"/opt/solver", L"execute", L"Solve", L"IsLocal=true"}),
        servantFacts
            + L"ServiceInfo.ServantIs32Bit=0\r\nServiceInfo.AvailableAddressSpaceInMB=<null>\r\n"
              L"ServiceInfo.ServantLibraryVersion=11.0.0.3 (64-bit)\r\n"
              L"ServiceRequest.Mode=fast\r\nServiceRequest.Size=3\r\n"
            + hostFacts + L"Servant.IsLocal=true\r\n" + end);
}
