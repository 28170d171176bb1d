#include "config/HostDescription.h"

#include "config/LocalHost.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

using namespace qxm;
using test::ErrorOf;

namespace
{

constexpr wchar_t fullLine[] =
    L"client alpha/77 Version=15.1.1.1 HostName=alpha ProcessId=77 UserName=\"Ann O'Hara\" OSType=Linux "
    L"CpuLayout=2 x 4-Core (HT) CpuCount=16 CpuType=X64 CpuInfo=\"Fast CPU = 1\" CpuScore=1.5 MemSize=16000MB "
    L"LAAAASpace=4096MB";

HostDescription FullHost()
{
    return {L"client", L"alpha/77", {15, 1, 1, 1}, L"alpha", 77, L"Ann O'Hara", OSType::Linux, CpuLayout{2, 4, true},
        16, CpuType::X64, L"Fast CPU = 1", 1.5f, 16000, 4096, {}, {}};
}

} // namespace

TEST(HostDescription, IsWrittenAsOneLineAndReadBack)
{
    EXPECT_EQ(FullHost().Write(), fullLine);

    HostDescription other = FullHost();
    other.version.bitness = 64;
    other.userName = L"a\"b";
    other.osType = static_cast<OSType>(99);
    other.cpuLayout = {};
    other.cpuType = static_cast<CpuType>(5);
    EXPECT_EQ(other.Write(),
        L"client alpha/77 Version=15.1.1.1 (64-bit) HostName=alpha ProcessId=77 UserName=\"a'b\" OSType=UnknownOSType "
        L"CpuLayout= CpuCount=16 CpuType=UnknownCpuType CpuInfo=\"Fast CPU = 1\" CpuScore=1.5 MemSize=16000MB "
        L"LAAAASpace=4096MB");

    for (const HostDescription& host : {FullHost(), other, DescribeLocalHost(L"client")})
    {
        const HostDescription read = HostDescription::Read(host.Write(), L"client");
        EXPECT_EQ(read.Write(), host.Write());
        EXPECT_EQ(read.version, host.version);
    }
}

TEST(HostDescription, KeysMayComeInAnyOrderOrBeMissing)
{
    const HostDescription host = HostDescription::Read(
        L"CpuLayout=1 x 2-Core LinkSpeed=100Mbps distributor MemSize='1 GB' id CpuSpeed=3MHz OSType=Windows99",
        L"distributor");
    EXPECT_EQ(host.Write(),
        L"distributor id Version=0.0.0.0 HostName= ProcessId=0 UserName=\"\" OSType=UnknownOSType CpuLayout=1 x 2-Core "
        L"CpuCount=0 CpuType=UnknownCpuType CpuInfo=\"\" CpuScore=0 MemSize=1024MB LAAAASpace=0MB");
    EXPECT_EQ(host.linkSpeedInBps.Value(), 104857600u);
    EXPECT_EQ(host.cpuSpeedInHz.Value(), 3145728u);
}

TEST(HostDescription, NamesWhatIsWrongWithALine)
{
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"", "Invalid client command: Not enough positional arguments (got 0 but must be at least 2)"},
        {L"client", "Invalid client command: Not enough positional arguments (got 1 but must be at least 2)"},
        {L"server x", "Unexpected role 'server', expected 'client'"},
        {L"client x y", "Invalid client command: Too many positional arguments (got 3 but must be at most 2)"},
        {L"client x Bogus=1", "Invalid client command: Invalid named argument 'Bogus'"},
        {L"client x =1", "Invalid client command: Syntax error in argument '=1'"},
        {L"client x UserName=\"open", "Invalid client command: Unexpected end of string"},
        {L"client x Version=1.2", "Error parsing 'Version=1.2'"},
        {L"client x ProcessId=-1", "Error parsing 'ProcessId=-1'"},
        {L"client x CpuCount=", "Error parsing 'CpuCount='"},
        {L"client x CpuLayout=2 x 4 CpuCount=1", "Error parsing 'CpuLayout=2 x 4'"},
        {L"client x CpuLayout=2 x -1-Core (HT) y", "Error parsing 'CpuLayout=2 x -1-Core (HT) y'"},
        {L"client x CpuScore=fast", "Error parsing 'CpuScore=fast'"},
        {L"client x MemSize=12mb", "Error parsing 'MemSize=12mb'"},
        {L"client x LAAAASpace=4096", "Error parsing 'LAAAASpace=4096'"},
        {L"client x LinkSpeed=99999999999Gbps", "Error parsing 'LinkSpeed=99999999999Gbps'"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { HostDescription::Read(c.first, L"client"); }), c.second) << c.first;
}

TEST(HostDescription, OfThisComputerIsFilled)
{
    const HostDescription host = DescribeLocalHost(L"client");
    EXPECT_EQ(host.identifier, host.hostName + L"/" + std::to_wstring(host.processId));
    EXPECT_EQ(host.version, libraryVersion);
    EXPECT_FALSE(host.hostName.empty() || host.userName.empty());
    EXPECT_NE(host.osType, OSType::Unknown);
    EXPECT_NE(host.cpuType, CpuType::Unknown);
    EXPECT_GE(host.cpuCount, 1u);
    EXPECT_GE(host.memorySizeInMB, 64u);
}
