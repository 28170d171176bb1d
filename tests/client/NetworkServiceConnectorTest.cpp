#include "client/ConnectorFixture.h"

namespace
{

using QxClient::NetworkServiceConnector;

class NetworkServiceConnectorTest : public test::ConnectorFixture
{
protected:
    NetworkServiceConnector& Make() { return MakeConnector<NetworkServiceConnector>(m_executor); }

    test::FakeExecutor* m_executor = nullptr;
};

TEST_F(NetworkServiceConnectorTest, OneCallAtATimeWaitsForAServant)
{
    auto& connector = Make();
    auto* first = Call(connector, L"1", L"1", L"1");
    auto* second = Call(connector, L"2", L"1", L"1");
    m_executor->Await("network 1");
    EXPECT_FALSE(m_executor->Happened("network 2"));
    m_executor->LetGo("1");
    m_executor->Await("ready 1");
    m_executor->Await("network 2"); // while the first still runs
    m_executor->LetGo("1");
    first->Wait();
    m_executor->Fail("2", L"refused");
    second->Wait();
    EXPECT_EQ(Request(0).Notifications(), "");
    EXPECT_EQ(Request(1).Notifications(), "error: refused;");
}

TEST_F(NetworkServiceConnectorTest, AFailedOrCancelledWaitLetsTheNextCallGo)
{
    auto& connector = Make();
    Call(connector, L"1", L"1", L"1");
    auto* second = Call(connector, L"2", L"1", L"1");
    auto* third = Call(connector, L"3", L"1", L"1");
    Call(connector, L"4", L"1", L"1");
    m_executor->Await("network 1");
    third->Cancel();
    EXPECT_EQ(Request(2).Notifications(), "cancelled;");
    m_executor->Fail("1", L"unreachable");
    m_executor->Await("network 2");
    second->Cancel();
    m_executor->Await("network 4");
    second->Wait();
    EXPECT_EQ(Request(0).Notifications(), "error: unreachable;");
    EXPECT_EQ(Request(1).Notifications(), "cancelled;");
    EXPECT_FALSE(m_executor->Happened("network 3"));
}

TEST_F(NetworkServiceConnectorTest, TheLimitCountsRunningCalls)
{
    m_settings.maxRunningCalls = std::uint64_t{1};
    auto& connector = Make();
    Call(connector, L"1", L"1", L"1");
    Call(connector, L"2", L"1", L"1");
    m_executor->Await("network 1");
    m_executor->LetGo("1");
    m_executor->Await("ready 1");
    EXPECT_FALSE(m_executor->Happened("network 2"));
    m_executor->LetGo("1");
    m_executor->Await("network 2");
}

} // namespace
