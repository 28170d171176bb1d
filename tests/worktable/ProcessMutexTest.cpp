#include "worktable/ProcessMutex.h"

#include "TestTable.h"
#include "runtime/FunctionRunnable.h"

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
    const test::UniqueName name;
    ProcessMutex mutex;
    mutex.OpenOrCreate(name.Local(), test::ForEveryone());
    mutex.Acquire(0);
    qpr::ThreadEvent started(qpr::ThreadEvent::Kind_ManualReset);
    test::FunctionRunnable waiter(
        [&]
        {
            started.Signal();
            mutex.Acquire(qpr::Infinite);
        });
    {
        qpr::Thread thread(waiter);
        started.Wait();
    }
    EXPECT_EQ("interrupted", waiter.Outcome());
    mutex.Release();
}
