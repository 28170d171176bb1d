#include "runtime/threads/Thread.h"

#include "runtime/FunctionRunnable.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/Wait.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace
{

using namespace qpr;
using test::ErrorOf;
using test::FunctionRunnable;

/// Longer than anything here takes; a wait that ends by it is a failure.
constexpr std::uint32_t patienceMs = 60000;

bool IsInterruptedIn(const std::function<void()>& wait)
{
    try
    {
        wait();
    }
    catch (const InterruptException&)
    {
        return true;
    }
    return false;
}

/// Interrupts a thread at a known moment: the body runs with the interrupt asked for and not yet taken.
void RunWithPendingInterrupt(std::function<void()> body)
{
    ThreadEvent interrupted(ThreadEvent::Kind_ManualReset);
    FunctionRunnable runnable(
        [&]
        {
            {
                const NonInterruptibleSection section;
                interrupted.Wait(patienceMs);
            }
            body();
        });
    Thread thread(runnable);
    thread.Interrupt();
    interrupted.Signal();
    thread.WaitForCompletion(patienceMs);
    EXPECT_EQ("", runnable.Outcome());
}

TEST(ThreadTest, ItsDestructorInterruptsEveryKindOfWait)
{
    ThreadEvent never(ThreadEvent::Kind_AutoReset);
    ThreadEvent neverEither(ThreadEvent::Kind_ManualReset);
    Cancellation cancellation;
    FunctionRunnable endless([] { Thread::Sleep(Infinite); });
    Thread endlessThread(endless);
    const WaitObject objects[] = {never.Object(), neverEither.Object()};
    const std::function<void()> waits[] = {
        [] { Thread::Sleep(Infinite); },
        [] { Thread::Sleep(patienceMs); },
        []
        {
            for (;;)
                Thread::CheckInterrupt();
        },
        [&] { never.Wait(); },
        [&] { neverEither.Wait(); },
        [&] { Thread::WaitForAnyObject(objects, L"test"); },
        [&] { Wait(cancellation).For(never.Object(), L"test"); },
        [&] { endlessThread.WaitForCompletion(); },
    };
    for (const auto& wait : waits)
    {
        ThreadEvent started(ThreadEvent::Kind_AutoReset);
        FunctionRunnable runnable(
            [&]
            {
                started.Signal();
                wait();
            });
        {
            const Thread thread(runnable);
            started.Wait(patienceMs);
        }
        EXPECT_EQ("interrupted", runnable.Outcome()) << "wait " << &wait - waits;
    }
}

TEST(ThreadTest, APendingInterruptIsTakenOnceByTheFirstWaitOutsideAllSections)
{
    ThreadEvent set(ThreadEvent::Kind_AutoReset);
    ThreadEvent never(ThreadEvent::Kind_ManualReset);
    RunWithPendingInterrupt(
        [&]
        {
            {
                const NonInterruptibleSection outer;
                {
                    const NonInterruptibleSection inner;
                    EXPECT_FALSE(Thread::TryWaitForObject(never.Object(), L"test", 0));
                }
                Thread::CheckInterrupt();
                Thread::Sleep(0);
            }
            set.Signal();
            EXPECT_TRUE(IsInterruptedIn([&] { set.Wait(0); }));
            Thread::CheckInterrupt();
            set.Wait(0); // the wait that was interrupted has not taken the signal
            EXPECT_FALSE(Thread::TryWaitForObject(never.Object(), L"test", 1));
            Thread::Sleep(1);
        });
}

TEST(ThreadTest, NoInterruptOfManyIsLost)
{
    constexpr int count = 2000;
    ThreadEvent taken(ThreadEvent::Kind_AutoReset);
    ThreadEvent done(ThreadEvent::Kind_AutoReset);
    int takenCount = 0;
    FunctionRunnable runnable(
        [&]
        {
            while (IsInterruptedIn([&] { done.Wait(); }))
            {
                ++takenCount;
                taken.Signal();
            }
        });
    Thread thread(runnable);
    for (int i = 0; i < count; ++i)
    {
        thread.Interrupt();
        taken.Wait(patienceMs);
    }
    done.Signal();
    thread.WaitForCompletion(patienceMs);
    EXPECT_EQ(count, takenCount);
}

TEST(ThreadTest, WhatLeavesTheRunnableEndsItsThreadOnly)
{
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[] { throw RuntimeError(L"Gr\u00FC\u00DFe"); }, "Gr\xC3\xBC\xC3\x9F\x65"},
        {[] { throw 1; }, "Unknown exception"},
        {[] { throw InterruptException(); }, "interrupted"},
        {[] {}, ""},
    };
    for (const auto& [body, error] : cases)
    {
        FunctionRunnable runnable(body);
        Thread thread(runnable);
        thread.WaitForCompletion(patienceMs);
        EXPECT_TRUE(thread.HasCompleted());
        EXPECT_EQ(error, runnable.Outcome());
    }
    struct : IRunnable
    {
        void Run() override { throw RuntimeError(L"first"); }
        void HandleError(const std::exception&) override { throw RuntimeError(L"second"); }
    } failingTwice;
    Thread(failingTwice).WaitForCompletion(patienceMs);
}

TEST(ThreadTest, CompletionIsSeenWhenItIsThere)
{
    ThreadEvent end(ThreadEvent::Kind_AutoReset);
    FunctionRunnable runnable([&] { end.Wait(patienceMs); });
    Thread thread(runnable);
    EXPECT_FALSE(thread.HasCompleted());
    EXPECT_EQ("Timeout executing qpr::Thread::WaitForCompletion", ErrorOf([&] { thread.WaitForCompletion(0); }));
    end.Signal();
    thread.WaitForCompletion(patienceMs);
    EXPECT_TRUE(thread.HasCompleted());
}

TEST(ThreadTest, LowestOfSeveralSignalledObjectsIsTaken)
{
    std::optional<ThreadEvent> events[3];
    std::vector<WaitObject> objects;
    for (auto& event : events)
        objects.push_back(event.emplace(ThreadEvent::Kind_AutoReset).Object());
    events[2]->Signal();
    events[1]->Signal();
    EXPECT_EQ(1, Thread::WaitForAnyObject(objects, L"test", 0));
    EXPECT_EQ(2, Thread::WaitForAnyObject(objects, L"test", 0));
    EXPECT_EQ(-1, Thread::TryWaitForAnyObject(objects, L"test", 0));
    EXPECT_THROW(Thread::WaitForAnyObject(objects, L"test", 1), TimeoutException);
}

TEST(ThreadTest, WaitsAreCheckedForWhatTheyWaitFor)
{
    const WaitObject nothing(NativeHandle(), WaitObject::Kind_State);
    EXPECT_TRUE(ErrorOf(
        [&] {
            Thread::WaitForObject(nothing, L"qpr::Test::Wait", Infinite, 7);
        }).starts_with("WaitForSingleObjectEx() failed in qpr::Test::Wait.7, error number = 0x"));
    EXPECT_THROW(Thread::WaitForAnyObject({}, L"test"), std::logic_error);
    EXPECT_THROW(Thread::WaitForAnyObject(std::vector<WaitObject>(65, nothing), L"test"), std::logic_error);
}

} // namespace
