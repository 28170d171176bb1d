#include "config/LocalHost.h"
#include "distributor/RunningDistributor.h"
#include "support/DistributorProgram.h"
#include "support/ErrorOf.h"
#include "support/ProcessControl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

/// The program itself, started beside the test program.
namespace
{

TEST(ProgramTest, ServesAndTellsAndWhenKilledEndsNothingInGoodOrder)
{
    const test::TestConfiguration configuration;
    test::DistributorProgram program(configuration.Path(), 1);
    qxm::DistributorRequest request(L"localhost", program.Port(), {L"Echo", {}, false, false},
        test::ClientLine(qxm::DescribeLocalHost(L"client").hostName), {});
    ASSERT_TRUE(request.WaitUntilReady());
    test::WriteTo(request.MainSocket(), "data");
    request.MainSocket().Shutdown(qpr::Socket::Direction::Send);
    EXPECT_EQ(test::ReadToEnd(request.MainSocket()), "servant test executing Echo\r\ndata");
    EXPECT_EQ(test::ReadToEnd(request.LogSocket()),
        "echoed \xc3\xa9\n\xff"
        "exit 0\n");
    request.MainSocket().Close();
    EXPECT_THAT(program.WaitForOutput(": done after "),
        testing::MatchesRegex("qx-distributor listening on 127.0.0.1:.+\ncall Echo of .+: done after .+\n"));

    qxm::DistributorRequest cut(
        L"localhost", program.Port(), {L"Hold", {}, true, false}, test::ClientLine(L"here"), {});
    ASSERT_TRUE(cut.WaitUntilReady());
    EXPECT_EQ(test::ReadLineFrom(cut.MainSocket()), "servant test executing Hold\r\n");
    program.Kill();
    if (test::KillResetsConnections())
    {
        EXPECT_EQ(test::ErrorOf([&] { test::ReadToEnd(cut.MainSocket()); }),
            "WSARecv() failed, Winsock error number = 10054: Connection reset by peer.");
    }
    EXPECT_EQ(program.WaitForEnd().errors, "");
}

TEST(ProgramTest, SaysWhatIsWrongWithItsCommandLine)
{
    const struct
    {
        std::vector<std::wstring> arguments;
        std::string error;
        std::uint32_t exitCode;
    } cases[] = {
        {{}, "--config is required\n", 2},
        {{L"--config", L"x", L"--listen", L"7"}, "--listen: an address is ADDRESS:PORT\n", 2},
        {{L"--config", L"x", L"--slots", L"0"}, "--slots: Value 0 not in range 1 to 65536\n", 2},
        {{L"--config", L"x", L"--host-name", L"a b"}, "--host-name: a host name has no white space and no quotes\n", 2},
        {{L"--config", L"x", L"--listen", L"127.0.0.1:99999"}, "--listen: a port is a number up to 65535\n", 2},
        {{L"--config", L"/no/such.xml"}, "cannot read configuration '/no/such.xml': ", 1},
    };
    for (const auto& test : cases)
    {
        const test::ProgramEnd end = test::RunProgram({L"qx-distributor", test.arguments});
        EXPECT_THAT(end.errors, testing::StartsWith("qx-distributor: " + test.error));
        EXPECT_EQ(end.exitCode, test.exitCode);
    }
}

} // namespace
