#include "client/ConnectorFixture.h"

namespace
{

using QxClient::LocalServiceConnector;

class LocalServiceConnectorTest : public test::ConnectorFixture
{
protected:
    LocalServiceConnector& Make() { return MakeConnector<LocalServiceConnector>(m_executor); }

    test::FakeExecutor* m_executor = nullptr;
};

TEST_F(LocalServiceConnectorTest, FillsTheComputerAndLetsSmallerCallsOvertake)
{
    auto& connector = Make();
    Call(connector, L"1", L"3", L"100");
    m_executor->Await("local 1");
    auto* tooLarge = Call(connector, L"2", L"2", L"100");
    auto* fits = Call(connector, L"3", L"1", L"100"); // exactly at the limit
    m_executor->Await("local 3");
    EXPECT_FALSE(m_executor->Happened("local 2"));
    m_executor->LetGo("3");
    fits->Wait();
    EXPECT_FALSE(m_executor->Happened("local 2"));
    m_executor->LetGo("1");
    m_executor->Await("local 2");
    m_executor->LetGo("2");
    tooLarge->Wait();
    EXPECT_EQ(Request(1).Notifications(), "");
}

TEST_F(LocalServiceConnectorTest, SharesTheComputerWithAnotherConnector)
{
    auto& first = Make();
    test::FakeExecutor* firstExecutor = m_executor;
    auto& second = Make();
    Call(first, L"1", L"4", L"1");
    firstExecutor->Await("local 1");
    auto* waiting = Call(second, L"2", L"1", L"1");
    firstExecutor->LetGo("1"); // its end wakes the other connector
    m_executor->Await("local 2");
    m_executor->LetGo("2");
    waiting->Wait();
    EXPECT_EQ(LastRequest().Notifications(), "");
}

TEST_F(LocalServiceConnectorTest, SmallCallsDoNotWaitForProcessors)
{
    m_localSettings.maxRunningNoWaitCalls = 2;
    auto& connector = Make();
    Call(connector, L"1", L"4", L"511");
    m_executor->Await("local 1");
    Call(connector, L"2", L"4", L"511");
    m_executor->Await("local 2");
    Call(connector, L"3", L"4", L"511"); // two run already
    auto* tooLarge = Call(connector, L"4", L"0", L"512");
    EXPECT_FALSE(m_executor->Happened("local 3"));
    m_executor->LetGo("1");
    m_executor->Await("local 3");
    EXPECT_FALSE(m_executor->Happened("local 4"));
    tooLarge->Cancel();
}

TEST_F(LocalServiceConnectorTest, NeverRunsMoreCallsThanItsLimit)
{
    m_settings.maxRunningCalls = std::uint64_t{1};
    auto& connector = Make();
    Call(connector, L"1", L"1", L"1");
    m_executor->Await("local 1");
    auto* second = Call(connector, L"2", L"1", L"1");
    m_executor->LetGo("1");
    m_executor->Await("local 2");
    m_executor->LetGo("2");
    second->Wait();
}

TEST_F(LocalServiceConnectorTest, CallsEndInExactlyOneNotification)
{
    auto& connector = Make();
    auto* done = Call(connector, L"1", L"1", L"1");
    auto* failed = Call(connector, L"2", L"1", L"1");
    auto* cancelled = Call(connector, L"3", L"1", L"1");
    auto* unknown = Call(connector, L"4", L"1", L"1", L"Other");
    m_executor->Await("local 3");
    m_executor->LetGo("1");
    m_executor->Fail("2", L"no paper");
    cancelled->Cancel();
    for (auto* call : {done, failed, cancelled, unknown})
        call->Wait();
    cancelled->Cancel(); // too late for anything
    EXPECT_EQ(Request(0).Notifications(), "");
    EXPECT_EQ(Request(1).Notifications(), "error: no paper;");
    EXPECT_EQ(Request(2).Notifications(), "cancelled;");
    EXPECT_EQ(Request(3).Notifications(), "error: Service 'Other' not available on local computer;");
}

TEST_F(LocalServiceConnectorTest, CancelsQueuedAndRunningCallsTogether)
{
    auto& connector = Make();
    std::vector<qxmi::IServiceCall*> calls{Call(connector, L"1", L"4", L"1"), Call(connector, L"2", L"4", L"1")};
    m_executor->Await("local 1");
    connector.CancelServiceCalls({});
    connector.CancelServiceCalls(calls);
    EXPECT_EQ(Request(0).Notifications(), "cancelled;");
    EXPECT_EQ(Request(1).Notifications(), "cancelled;");
    EXPECT_FALSE(m_executor->Happened("local 2"));

    auto& other = Make();
    EXPECT_THROW(other.CancelServiceCalls(calls), std::runtime_error);
}

TEST_F(LocalServiceConnectorTest, ReleasingACallWhereverItIsEndsIt)
{
    auto& connector = Make();
    test::RecordingRequest running(L"Work", {{L"Id", L"1"}, {L"P", L"4"}, {L"M", L"1"}});
    test::RecordingRequest queued(L"Work", {{L"Id", L"2"}, {L"P", L"4"}, {L"M", L"1"}});
    auto* first = connector.CreateServiceCall(running);
    m_executor->Await("local 1");
    auto* second = connector.CreateServiceCall(queued);
    second->Release();
    EXPECT_EQ(queued.Notifications(), "cancelled;");
    first->Release();
    EXPECT_EQ(running.Notifications(), "cancelled;");
}

TEST_F(LocalServiceConnectorTest, ACallWhoseNeedsCannotBeKnownIsNotQueued)
{
    auto& connector = Make();
    for (const wchar_t* unfit : {L"many", L" ", L"1 2", L"\""})
    {
        test::RecordingRequest request(L"Work", {{L"Id", L"1"}, {L"P", unfit}, {L"M", L"1"}});
        EXPECT_THROW(connector.CreateServiceCall(request), std::runtime_error) << unfit;
        EXPECT_EQ(request.Notifications(), "");
    }
}

} // namespace
