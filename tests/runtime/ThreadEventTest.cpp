#include "runtime/ThreadEvent.h"

#include "runtime/FunctionRunnable.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{

using namespace qpr;

constexpr std::uint32_t patienceMs = 60000;

bool IsSet(ThreadEvent& event)
{
    return Thread::WaitForObject(event.Object(), L"test", 0, true);
}

TEST(ThreadEventTest, AutoResetEventHoldsOneSignalForOneWait)
{
    ThreadEvent event(ThreadEvent::Kind_AutoReset);
    EXPECT_FALSE(IsSet(event));
    event.Signal();
    event.Signal();
    EXPECT_TRUE(IsSet(event));
    EXPECT_FALSE(IsSet(event));
    event.Signal();
    event.Clear();
    EXPECT_FALSE(IsSet(event));
}

TEST(ThreadEventTest, ManualResetEventStaysSetUntilCleared)
{
    ThreadEvent event(ThreadEvent::Kind_ManualReset);
    EXPECT_FALSE(IsSet(event));
    event.Clear();
    event.Signal();
    EXPECT_TRUE(IsSet(event));
    EXPECT_TRUE(IsSet(event));
    event.Clear();
    EXPECT_FALSE(IsSet(event));
}

TEST(ThreadEventTest, WaitThatRunsOutOfTimeSaysSo)
{
    ThreadEvent event(ThreadEvent::Kind_AutoReset);
    try
    {
        event.Wait(1);
        ADD_FAILURE() << "no timeout";
    }
    catch (const TimeoutException& error)
    {
        EXPECT_EQ(L"Timeout executing qpr::ThreadEvent::Wait", error.Text());
    }
}

TEST(ThreadEventTest, OneSignalLetsOneOfManyWaitersPass)
{
    constexpr int roundCount = 2000;
    ThreadEvent turn(ThreadEvent::Kind_AutoReset);
    int passed = 0; // guarded by having the turn
    test::FunctionRunnable runnable(
        [&]
        {
            for (int i = 0; i < roundCount; ++i)
            {
                turn.Wait(patienceMs);
                ++passed;
                turn.Signal();
            }
        });
    std::vector<std::unique_ptr<Thread>> threads;
    for (int i = 0; i < 4; ++i)
        threads.push_back(std::make_unique<Thread>(runnable));
    turn.Signal();
    for (const auto& thread : threads)
        thread->WaitForCompletion(patienceMs);
    EXPECT_EQ(4 * roundCount, passed);
    EXPECT_EQ("", runnable.Error());
}

TEST(ThreadEventTest, ManualResetEventLetsAllWaitersSeeWhatCameBefore)
{
    ThreadEvent ready(ThreadEvent::Kind_ManualReset);
    int value = 0;
    test::FunctionRunnable runnable(
        [&]
        {
            ready.Wait(patienceMs);
            EXPECT_EQ(42, value);
        });
    Thread first(runnable);
    Thread second(runnable);
    value = 42;
    ready.Signal();
    first.WaitForCompletion(patienceMs);
    second.WaitForCompletion(patienceMs);
    EXPECT_EQ("", runnable.Error());
}

} // namespace
