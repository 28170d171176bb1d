#include "distributor/RunningDistributor.h"
#include "support/DistributorProgram.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

TEST(ProgramPosixTest, AClientOfOneThatIsKilledSeesNoOrderlyEnd)
{
    const test::TestConfiguration configuration;
    test::DistributorProgram program(configuration.Path(), 1);
    qxm::DistributorRequest request(
        L"localhost", program.Port(), {L"Hold", {}, true, false}, test::HostNamed(L"client", L"here"), nullptr);
    ASSERT_TRUE(request.WaitUntilReady());
    request.OpenLogConnection();
    EXPECT_EQ(test::ReadLineFrom(request.MainSocket()), "servant test executing Hold\r\n");
    program.Kill();
    EXPECT_EQ(test::ErrorOf([&] { test::ReadToEnd(request.MainSocket()); }),
        "WSARecv() failed, Winsock error number = 10054: Connection reset by peer.");
}
