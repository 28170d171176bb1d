#include "worktable/ProcessMutex.h"

#include "TestTable.h"

#include <gmock/gmock.h>

#include <thread>

using qpr::ProcessMutex;
using test::ErrorOf;

TEST(ProcessMutex, ReportsADeadOwnerOnceAndIsFreeAgain)
{
    const test::UniqueName name;
    ProcessMutex mutex;
    mutex.OpenOrCreate(name.Local(), test::ForEveryone());
    std::thread([&] { mutex.Acquire(0); }).join();
    EXPECT_EQ("Abandoned mutex encountered executing qpr::ProcessMutex::Acquire", ErrorOf([&] { mutex.Acquire(0); }));
    std::thread(
        [&]
        {
            mutex.Acquire(0);
            mutex.Release();
        })
        .join();
}

TEST(ProcessMutex, AWaiterCanBeInterrupted)
{
    struct Waiter : qpr::IRunnable
    {
        void Run() override
        {
            started.Signal();
            mutex.Acquire(qpr::Infinite);
        }
        void HandleError(const std::exception&) override { ADD_FAILURE(); }

        ProcessMutex mutex;
        qpr::ThreadEvent started{qpr::ThreadEvent::Kind_ManualReset};
    } waiter;
    const test::UniqueName name;
    waiter.mutex.OpenOrCreate(name.Local(), test::ForEveryone());
    waiter.mutex.Acquire(0);
    {
        qpr::Thread thread(waiter);
        waiter.started.Wait();
    }
    waiter.mutex.Release();
}
