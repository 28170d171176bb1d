#include "client/RandomCalls.h"
#include "distributor/RealCalls.h"
#include "distributor/ServantCounts.h"
#include "support/ChildMain.h"
#include "support/DistributorProgram.h"
#include "support/PipedChild.h"

#include <gtest/gtest.h>

#include <deque>

/// Hybrid calls with servants, a distributor and other clients that are processes of their own.
namespace
{

constexpr unsigned distributorSlots = 2;

/// A client that makes calls at random and tells what was wrong with how they ended.
int RunClient(const std::vector<std::string>& arguments)
{
    const test::Connector connector = test::MakeHybridConnector(
        qpr::FromUtf8(arguments[0]), qpr::FromUtf8(arguments[1]), qpr::FromUtf8(arguments[2]));
    const test::RandomCalls calls{.seed = static_cast<unsigned>(std::stoul(arguments[4])),
        .threads = 2,
        .callsPerThread = static_cast<int>(test::FromEnvironment("QX_TEST_CALLS", 40) / 2),
        .cancelsSome = false};
    const auto complaints = calls.Make(*connector,
        [&](std::mt19937& random)
        {
            const unsigned processors = 1 + random() % 2;
            const bool isRemote = random() % 5 == 0;
            return std::make_unique<test::EchoRequest>(isRemote ? L"Remote" : L"Work", processors,
                arguments[3] + ' ' + std::to_string(processors), random() % 30'000);
        });
    for (const std::string& complaint : complaints)
        std::puts(complaint.c_str());
    return 0;
}

const test::ChildRegistration hybridClient("hybrid-client", &RunClient);

TEST(HybridCallsTest, ClientsOfOneComputerAndOneDistributorKeepTheLimitsTogether)
{
    const test::TestConfiguration configuration;
    const test::UniqueName name;
    const std::string countsName = qpr::ToUtf8(name.Local()) + "Counts";
    test::ServantCounts counts(countsName);
    test::DistributorProgram distributor(configuration.Path(), distributorSlots);
    std::deque<test::PipedChild> clients;
    for (int number = 1; number <= 3; ++number)
        clients.emplace_back(test::StartOfChild("hybrid-client",
            {configuration.Path(), distributor.Port(), name.Text(), qpr::FromUtf8(countsName),
                std::to_wstring(number)}));
    for (test::PipedChild& client : clients)
        EXPECT_EQ(client.ReadOutput(), "");
    EXPECT_LE(counts.Of(true).most, test::processorsHere);
    EXPECT_GT(counts.Of(true).most, 0u);
    EXPECT_LE(counts.Of(false).most, distributorSlots);
    EXPECT_GT(counts.Of(false).most, 0u);
}

} // namespace
