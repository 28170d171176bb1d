#include "distributor/RealCalls.h"
#include "distributor/ServantCounts.h"

#include <qxmi/IServiceCall.h>

#include <gtest/gtest.h>

#include <deque>

/// Network calls with a real distributor and real servants.
namespace
{

constexpr unsigned slots = 2;

std::wstring PortOf(const test::RunningDistributor& distributor)
{
    return std::to_wstring(distributor.Address().Port());
}

TEST(NetworkCallsTest, ManyInARowAndFiftyAtOnceGetTheirAnswersInFewSlots)
{
    const test::UniqueName name;
    const std::string countsName = qpr::ToUtf8(name.Local());
    test::ServantCounts counts(countsName);
    const test::RunningDistributor distributor(slots);
    std::deque<test::EchoRequest> requests;
    std::deque<test::Connector> connectors;
    const auto call = [&](qxmi::IServiceConnectorW& connector)
    {
        requests.emplace_back(L"Remote", 1, countsName + " 1", 10'000);
        return connector.CreateServiceCall(requests.back());
    };
    connectors.push_back(test::MakeNetworkConnector(PortOf(distributor)));
    for (unsigned number = test::FromEnvironment("QX_TEST_CALLS", 20); number != 0; --number)
    {
        auto* inARow = call(*connectors.front());
        inARow->Wait();
        inARow->Release();
    }
    std::vector<qxmi::IServiceCall*> atOnce;
    for (int number = 0; number < 50; ++number) // of a connector each, which all wait at the distributor
    {
        connectors.push_back(test::MakeNetworkConnector(PortOf(distributor)));
        atOnce.push_back(call(*connectors.back()));
    }
    for (auto* waiting : atOnce)
    {
        waiting->Wait();
        waiting->Release();
    }
    for (test::EchoRequest& request : requests)
        EXPECT_EQ(request.Complaint(), "");
    EXPECT_LE(counts.Of(false).most, slots);
    EXPECT_EQ(counts.Of(false).now, 0u);
}

} // namespace
