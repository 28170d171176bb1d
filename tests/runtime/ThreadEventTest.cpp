#include "runtime/ThreadEvent.h"

#include "runtime/FunctionRunnable.h"
#include "support/ErrorOf.h"

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
    EXPECT_EQ("Timeout executing qpr::ThreadEvent::Wait", test::ErrorOf([&] { event.Wait(1); }));
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
    EXPECT_EQ("", runnable.Outcome());
}

} // namespace
