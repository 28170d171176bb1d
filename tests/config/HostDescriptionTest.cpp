#include "config/HostDescription.h"

#include "config/ErrorOf.h"
#include "config/LocalHost.h"

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
    HostDescription host;
    host.role = L"client";
    host.identifier = L"alpha/77";
    host.version = {15, 1, 1, 1};
    host.hostName = L"alpha";
    host.processId = 77;
    host.userName = L"Ann O'Hara";
    host.osType = OSType::Linux;
    host.cpuLayout = CpuLayout{2, 4, true};
    host.cpuCount = 16;
    host.cpuType = CpuType::X64;
    host.cpuInfo = L"Fast CPU = 1";
    host.cpuScore = 1.5f;
    host.memorySizeInMB = 16000;
    host.laaAddressSpaceInMB = 4096;
    return host;
}

} // namespace

TEST(HostDescription, IsWrittenAsOneLine)
{
    EXPECT_EQ(FullHost().Write(), fullLine);

    HostDescription host = FullHost();
    host.version.bitness = 64;
    host.userName = L"a\"b";
    host.osType = static_cast<OSType>(99);
    host.cpuLayout = {};
    host.cpuType = static_cast<CpuType>(5);
    EXPECT_EQ(host.Write(),
        L"client alpha/77 Version=15.1.1.1 (64-bit) HostName=alpha ProcessId=77 UserName=\"a'b\" OSType=UnknownOSType "
        L"CpuLayout= CpuCount=16 CpuType=UnknownCpuType CpuInfo=\"Fast CPU = 1\" CpuScore=1.5 MemSize=16000MB "
        L"LAAAASpace=4096MB");
}

TEST(HostDescription, WhatIsWrittenIsReadBack)
{
    HostDescription host = FullHost();
    for (const auto& layout : {qpr::Nullable<CpuLayout>(), qpr::Nullable<CpuLayout>({1, 1, false}), host.cpuLayout})
    {
        for (const std::uint32_t bitness : {0, 64})
        {
            host.cpuLayout = layout;
            host.version.bitness = bitness;
            const HostDescription read = HostDescription::Read(host.Write(), L"client");
            EXPECT_EQ(read.Write(), host.Write());
            EXPECT_EQ(read.userName, host.userName);
            EXPECT_EQ(read.version, host.version);
            EXPECT_EQ(read.osType, host.osType);
        }
    }
    const HostDescription local = DescribeLocalHost(L"client");
    EXPECT_EQ(HostDescription::Read(local.Write(), L"client").Write(), local.Write());
}

TEST(HostDescription, KeysMayComeInAnyOrderOrBeMissing)
{
    const HostDescription host = HostDescription::Read(
        L"CpuLayout=1 x 2-Core LinkSpeed=100Mbps distributor MemSize='1 GB' id CpuSpeed=3MHz OSType=Windows99",
        L"distributor");
    EXPECT_EQ(host.identifier, L"id");
    EXPECT_EQ(host.cpuLayout.Value(), (CpuLayout{1, 2, false}));
    EXPECT_EQ(host.linkSpeedInBps.Value(), 104857600u);
    EXPECT_EQ(host.cpuSpeedInHz.Value(), 3145728u);
    EXPECT_EQ(host.memorySizeInMB, 1024u);
    EXPECT_EQ(host.osType, OSType::Unknown);
    EXPECT_EQ(host.cpuCount, 0u);
}

TEST(HostDescription, NamesWhatIsWrongWithALine)
{
    const struct
    {
        const wchar_t* line;
        const wchar_t* error;
    } cases[] = {
        {L"", L"Invalid client command: Not enough positional arguments (got 0 but must be at least 2)"},
        {L"client", L"Invalid client command: Not enough positional arguments (got 1 but must be at least 2)"},
        {L"server x", L"Unexpected role 'server', expected 'client'"},
        {L"client x y", L"Invalid client command: Too many positional arguments (got 3 but must be at most 2)"},
        {L"client x Bogus=1", L"Invalid client command: Invalid named argument 'Bogus'"},
        {L"client x =1", L"Invalid client command: Syntax error in argument '=1'"},
        {L"client x UserName=\"open", L"Invalid client command: Unexpected end of string"},
        {L"client x Version=1.2", L"Error parsing 'Version=1.2'"},
        {L"client x ProcessId=-1", L"Error parsing 'ProcessId=-1'"},
        {L"client x CpuCount=", L"Error parsing 'CpuCount='"},
        {L"client x CpuLayout=2 x 4 CpuCount=1", L"Error parsing 'CpuLayout=2 x 4'"},
        {L"client x CpuLayout=2 x -1-Core (HT) y", L"Error parsing 'CpuLayout=2 x -1-Core (HT) y'"},
        {L"client x CpuScore=fast", L"Error parsing 'CpuScore=fast'"},
        {L"client x MemSize=12mb", L"Error parsing 'MemSize=12mb'"},
        {L"client x LAAAASpace=4096", L"Error parsing 'LAAAASpace=4096'"},
        {L"client x LinkSpeed=99999999999Gbps", L"Error parsing 'LinkSpeed=99999999999Gbps'"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { HostDescription::Read(c.line, L"client"); }), c.error) << c.line;
}

TEST(HostDescription, OfThisComputerIsFilled)
{
    const HostDescription host = DescribeLocalHost(L"client");
    EXPECT_EQ(host.role, L"client");
    EXPECT_EQ(host.identifier, host.hostName + L"/" + std::to_wstring(host.processId));
    EXPECT_EQ(host.version, libraryVersion);
    EXPECT_FALSE(host.hostName.empty());
    EXPECT_FALSE(host.userName.empty());
    EXPECT_NE(host.osType, OSType::Unknown);
    EXPECT_NE(host.cpuType, CpuType::Unknown);
    EXPECT_GE(host.cpuCount, 1u);
    EXPECT_GE(host.memorySizeInMB, 64u);
}
