#include "client/ConnectorFixture.h"

#include <pthread.h>

namespace
{

/// While it lives no thread can be created: each would get a stack larger than the address space.
class NoRoomForThreads
{
public:
    NoRoomForThreads()
    {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t large;
        pthread_attr_init(&large);
        pthread_attr_setstacksize(&large, std::size_t{1} << 50);
        pthread_setattr_default_np(&large);
        pthread_attr_destroy(&large);
    }
    ~NoRoomForThreads()
    {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }

private:
    pthread_attr_t m_before;
};

/// Lets threads be created again as soon as its call has failed.
struct UnluckyRequest : test::RecordingRequest
{
    using RecordingRequest::RecordingRequest;
    void OnError(const std::exception& error) override
    {
        RecordingRequest::OnError(error);
        noRoom.reset();
    }

    std::optional<NoRoomForThreads> noRoom;
};

} // namespace

using LocalServiceConnectorPosixTest = test::ConnectorFixture;

TEST_F(LocalServiceConnectorPosixTest, ACallWhoseThreadCannotBeCreatedFailsAndLeavesItsRoomToTheNext)
{
    test::FakeExecutor* executor = nullptr;
    auto& connector = MakeConnector<QxClient::LocalServiceConnector>(executor);
    Call(connector, L"1", L"4", L"1");
    executor->Await("local 1");
    UnluckyRequest unlucky(L"Work", {{L"Id", L"2"}, {L"P", L"3"}, {L"M", L"1"}});
    auto* failing = connector.CreateServiceCall(unlucky);
    auto* next = Call(connector, L"3", L"4", L"1");
    unlucky.noRoom.emplace();
    executor->LetGo("1");
    executor->Await("local 3");
    failing->Wait();
    failing->Release();
    EXPECT_TRUE(unlucky.Notifications().starts_with("error: CreateThread() failed in qpr::Thread::Thread."));
    executor->LetGo("3");
    next->Wait();
    EXPECT_EQ(LastRequest().Notifications(), "");
}
