#include "runtime/threads/ThreadEvent.h"

#include "runtime/FunctionRunnable.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{

using namespace qpr;

constexpr std::uint32_t turnPatienceMs = 60000;

bool IsSet(ThreadEvent& event)
{
    return Thread::TryWaitForObject(event.Object(), L"test", 0);
}

TEST(ThreadEventTest, HoldsOneSignalForOneWaitOrForAllUntilCleared)
{
    for (const auto kind : {ThreadEvent::Kind_AutoReset, ThreadEvent::Kind_ManualReset})
    {
        ThreadEvent event(kind);
        EXPECT_EQ("Timeout executing qpr::ThreadEvent::Wait", test::ErrorOf([&] { event.Wait(1); }));
        event.Clear();
        event.Signal();
        event.Signal();
        EXPECT_TRUE(IsSet(event));
        EXPECT_EQ(kind == ThreadEvent::Kind_ManualReset, IsSet(event));
        event.Signal();
        event.Clear();
        EXPECT_FALSE(IsSet(event));
    }
}

TEST(ThreadEventTest, OneSignalLetsOneOfManyWaitersPass)
{
    constexpr int roundCount = 500;
    ThreadEvent turn(ThreadEvent::Kind_AutoReset);
    int passed = 0; // guarded by having the turn
    test::FunctionRunnable runnable(
        [&]
        {
            for (int i = 0; i < roundCount; ++i)
            {
                turn.Wait(turnPatienceMs);
                ++passed;
                turn.Signal();
            }
        });
    std::vector<std::unique_ptr<Thread>> threads;
    for (int i = 0; i < 4; ++i)
        threads.push_back(std::make_unique<Thread>(runnable));
    turn.Signal();
    for (const auto& thread : threads)
        thread->WaitForCompletion(turnPatienceMs);
    EXPECT_EQ(4 * roundCount, passed);
    EXPECT_EQ("", runnable.Outcome());
}

} // namespace
