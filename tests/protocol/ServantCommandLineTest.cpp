#include "protocol/ServantCommandLine.h"

#include <gtest/gtest.h>

namespace
{

using qxm::CompressionMode;
using Words = std::vector<std::wstring>;

qpr::CountedPtr<qxm::LocalServiceInfo> MakeService(qpr::Nullable<qxm::Version> libraryVersion, const wchar_t* crashDump)
{
    auto servant = qpr::MakeCounted<qxm::ServantInfo>();
    servant->executablePath = L"/opt/a servant";
    servant->libraryVersion = libraryVersion;
    servant->crashDumpFlags = crashDump;
    servant->crashDumpDirectory = crashDump;
    auto service = qpr::MakeCounted<qxm::LocalServiceInfo>(qpr::CountedPtr<const qxm::ServantInfo>(servant));
    service->name = L"Solve";
    return service;
}

TEST(ServantCommandLineTest, HoldsWhatTheServantsLibraryUnderstands)
{
    const std::tuple<qpr::Nullable<qxm::Version>, std::uint32_t, CompressionMode, Words> cases[] = {
        {{}, 4, CompressionMode::Zlib, {}},
        {qxm::Version{8, 7, 9}, 4, CompressionMode::Zlib, {}},
        {qxm::Version{8, 8, 0}, 0, CompressionMode::Zlib, {}},
        {qxm::Version{8, 8, 0}, 4, CompressionMode::Zlib, {L"NumberOfProcessorsToUse=4"}},
        {qxm::Version{8, 8, 1}, 0, CompressionMode::Zlib, {L"NumberOfProcessorsToUse=NotApplicable"}},
        {qxm::Version{10, 9, 9}, 1, CompressionMode::Zlib, {L"NumberOfProcessorsToUse=1"}},
        {qxm::Version{11, 0, 0}, 1, CompressionMode::None, {L"NumberOfProcessorsToUse=1", L"CompressionMode=none"}},
        {qxm::Version{15, 1, 1}, 2, CompressionMode::Zlib, {L"NumberOfProcessorsToUse=2", L"CompressionMode=zlib"}},
        {qxm::Version{15, 1, 1}, 2, CompressionMode::Qlz14, {L"NumberOfProcessorsToUse=2", L"CompressionMode=qlz14"}},
        {qxm::Version{15, 1, 1}, 2, CompressionMode{3}, {L"NumberOfProcessorsToUse=2", L"CompressionMode="}},
    };
    for (const auto& [libraryVersion, processors, compression, added] : cases)
    {
        Words expected = {L"/opt/a servant", L"execute", L"Solve", L"ClientId=here/7", L"IsLocal=true"};
        expected.insert(expected.end(), added.begin(), added.end());
        const auto service = MakeService(libraryVersion, L"");
        EXPECT_EQ(qxm::BuildExecuteCommandLine(*service, L"here/7", qxm::StartedBy::Client, processors, compression),
            expected);
    }
}

TEST(ServantCommandLineTest, LeavesOutWhatIsNotGiven)
{
    EXPECT_EQ(
        qxm::BuildExecuteCommandLine(*MakeService({}, L""), L"", qxm::StartedBy::Distributor, 0, CompressionMode::None),
        (Words{L"/opt/a servant", L"execute", L"Solve"}));
    EXPECT_EQ(qxm::BuildExecuteCommandLine(
                  *MakeService({}, L"/d"), L"", qxm::StartedBy::Distributor, 0, CompressionMode::None),
        (Words{L"/opt/a servant", L"execute", L"Solve", L"CrashDumpFlags=/d", L"CrashDumpDirectory=/d"}));
}

} // namespace
