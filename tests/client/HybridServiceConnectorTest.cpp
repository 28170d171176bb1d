#include "client/ConnectorFixture.h"
#include "client/RandomCalls.h"

#include <gmock/gmock.h>

namespace
{

using QxClient::HybridServiceConnector;

constexpr char switching[] = "[HybridServiceConnector] Switching waiting network call to local mode.\r\n";
constexpr char tooManyProcessors[] = "[HybridServiceConnector] Expected processor usage exceeds local processor usage "
                                     "limit. Attempting to execute call on network first.\r\n";

class HybridServiceConnectorTest : public test::ConnectorFixture
{
protected:
    HybridServiceConnector& Make() { return MakeConnector<HybridServiceConnector>(m_executor); }

    test::FakeExecutor* m_executor = nullptr;
};

TEST_F(HybridServiceConnectorTest, FillsTheComputerThenTheNetworkThenWaits)
{
    auto& connector = Make();
    Call(connector, L"1", L"4", L"1");
    Call(connector, L"2", L"4", L"1");
    auto* third = Call(connector, L"3", L"4", L"1");
    m_executor->Await("local 1");
    m_executor->Await("network 2");
    m_executor->LetGo("2"); // gets its servant, so that the next may wait
    m_executor->Await("network 3");
    m_executor->LetGo("1"); // room here: the waiting call comes back
    m_executor->Await("given up 3");
    m_executor->Await("local 3");
    m_executor->LetGo("3");
    third->Wait();
    EXPECT_EQ(LastRequest().Log(), switching);
    EXPECT_EQ(LastRequest().Notifications(), "");
}

TEST_F(HybridServiceConnectorTest, NoOtherCallTakesTheRoomOfOneThatIsOnItsWayBack)
{
    /// Holds its call while that logs the switch.
    struct HoldingRequest : test::RecordingRequest
    {
        using RecordingRequest::RecordingRequest;
        void WriteLog(const wchar_t*, std::size_t) override
        {
            switching.Signal();
            goOn.Wait();
        }
        qpr::ThreadEvent switching{qpr::ThreadEvent::Kind_AutoReset};
        qpr::ThreadEvent goOn{qpr::ThreadEvent::Kind_AutoReset};
    };
    HoldingRequest request(L"Work", {{L"Id", L"2"}, {L"P", L"4"}, {L"M", L"1"}});
    auto& connector = Make();
    Call(connector, L"1", L"4", L"1");
    m_executor->Await("local 1");
    auto* waiting = connector.CreateServiceCall(request);
    m_executor->Await("network 2");
    m_executor->LetGo("1");
    request.switching.Wait();
    Call(connector, L"3", L"4", L"1");
    request.goOn.Signal();
    m_executor->Await("network 3"); // the computer is full
    EXPECT_FALSE(m_executor->Happened("local 3"));
    waiting->Release();
}

TEST_F(HybridServiceConnectorTest, CallsTooLargeForTheComputerGoToTheNetworkAndStayHereWhenItFails)
{
    auto& connector = Make();
    auto* large = Call(connector, L"1", L"5", L"1");
    m_executor->Await("network 1");
    m_executor->Fail("1", L"no distributor");
    m_executor->Await("local 1");
    m_executor->LetGo("1");
    large->Wait();
    EXPECT_EQ(LastRequest().Log(),
        std::string(tooManyProcessors)
            + "[HybridServiceConnector] Failed to start call on network: no distributor. Call will be executed "
              "locally.\r\n");
    EXPECT_EQ(LastRequest().Notifications(), "");
}

TEST_F(HybridServiceConnectorTest, AFailureAfterTheServantWasAssignedIsTheCalls)
{
    auto& connector = Make();
    auto* call = Call(connector, L"1", L"5", L"1");
    m_executor->Await("network 1");
    m_executor->LetGo("1");
    m_executor->Await("ready 1");
    m_executor->Fail("1", L"servant died");
    call->Wait();
    EXPECT_EQ(LastRequest().Notifications(), "error: servant died;");
    EXPECT_FALSE(m_executor->Happened("local 1"));
}

TEST_F(HybridServiceConnectorTest, AWaitingCallCountsAsActive)
{
    m_settings.maxRunningCalls = std::uint64_t{1};
    auto& connector = Make();
    Call(connector, L"1", L"5", L"1");
    m_executor->Await("network 1");
    auto* second = Call(connector, L"2", L"1", L"1");
    m_executor->Fail("1", L"no distributor"); // queued again, behind the second
    m_executor->Await("local 2");
    EXPECT_FALSE(m_executor->Happened("local 1"));
    m_executor->LetGo("2");
    second->Wait();
    m_executor->Await("local 1");
}

TEST_F(HybridServiceConnectorTest, CancelsInEveryState)
{
    auto& connector = Make();
    std::vector<qxmi::IServiceCall*> calls;
    const auto call = [&](const wchar_t* id, const wchar_t* processors)
    { calls.push_back(Call(connector, id, processors, L"1")); };
    call(L"1", L"4"); // runs here
    m_executor->Await("local 1");
    call(L"2", L"5"); // runs on the network
    m_executor->Await("network 2");
    m_executor->LetGo("2");
    m_executor->Await("ready 2");
    call(L"3", L"5"); // waits there
    m_executor->Await("network 3");
    call(L"4", L"5"); // is queued
    connector.CancelServiceCalls(calls);
    for (std::size_t i = 0; i < calls.size(); ++i)
        EXPECT_EQ(Request(i).Notifications(), "cancelled;");
}

/// Answers every step of every call at random: it fails, ends, hangs until something else ends it.
class CapriciousExecutor final : public QxClient::ICallExecutor
{
public:
    void RunLocally(qxm::ICallContext& call, const qxm::LocalServiceInfo&, const qxm::ExpectedUsage&) override
    {
        Step(call, std::nullopt);
    }

    bool RunOnNetwork(qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject,
        const std::function<void()>& onServantAssigned) override
    {
        if (!Step(call, giveUpObject))
            return false;
        onServantAssigned();
        return Step(call, std::nullopt);
    }

private:
    bool Step(qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject)
    {
        std::vector<qpr::WaitObject> objects{call.GetCancellation().Object()};
        if (giveUpObject)
            objects.push_back(*giveUpObject);
        const std::uint32_t dice = Roll();
        const int index = qpr::Thread::TryWaitForAnyObject(objects, L"test", dice % 4);
        call.GetCancellation().ThrowIfCancelled();
        if (index < 0 && dice % 7 == 0)
            throw qpr::RuntimeError(L"bad luck");
        return index != 1;
    }

    std::uint32_t Roll()
    {
        std::lock_guard lock(m_lock);
        return m_random();
    }

    std::mutex m_lock;
    std::mt19937 m_random{7};
};

TEST_F(HybridServiceConnectorTest, ThousandsOfCallsEndExactlyOnceWhateverHappens)
{
    m_localSettings.maxRunningNoWaitCalls = 1;
    std::unique_ptr<HybridServiceConnector, void (*)(HybridServiceConnector*)> connector(
        new HybridServiceConnector(m_settings,
            std::make_unique<QxClient::LocalComputer>(Services(), Host(), m_localSettings, TableOptions()),
            std::make_unique<CapriciousExecutor>()),
        [](HybridServiceConnector* object) { object->Release(); });
    connector->AddRef();
    const auto complaints = test::RandomCalls().Make(*connector,
        [](std::mt19937& random)
        {
            return std::make_unique<test::RecordingRequest>(random() % 9 ? L"Work" : L"Other",
                std::map<std::wstring, std::wstring>{{L"P", std::to_wstring(random() % 6)}, {L"M", L"600"}});
        });
    EXPECT_THAT(complaints, testing::IsEmpty());
}

} // namespace
