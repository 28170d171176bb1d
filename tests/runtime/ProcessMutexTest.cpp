#include "runtime/named/ProcessMutex.h"

#include "FunctionRunnable.h"
#include "runtime/threads/ThreadEvent.h"
#include "support/ChildMain.h"
#include "support/ErrorOf.h"
#include "support/PipedChild.h"
#include "support/UniqueName.h"

#include <gmock/gmock.h>

#include <iostream>
#include <thread>

using qpr::ProcessMutex;
using test::ErrorOf;

namespace
{

int HoldForEver(const std::vector<std::string>& arguments)
{
    ProcessMutex mutex;
    mutex.OpenOrCreate(qpr::FromUtf8(arguments.at(0)), test::ForEveryone());
    mutex.Acquire(0);
    std::cout << "holding" << std::endl;
    std::cin.get();
    return 1;
}

const test::ChildRegistration registration("mutex-hold", HoldForEver);

} // namespace

TEST(ProcessMutex, ReportsADeadOwnerOnceAndIsFreeAgain)
{
    const test::UniqueName name;
    ProcessMutex mutex;
    mutex.OpenOrCreate(name.Local(), test::ForEveryone());
    test::PipedChild child(test::StartOfChild("mutex-hold", {name.Local()}));
    ASSERT_EQ("holding", child.ReadLine());
    EXPECT_EQ("Timeout executing qpr::ProcessMutex::Acquire", ErrorOf([&] { mutex.Acquire(0); }));
    child.process->Terminate();
    child.ExitCode();
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
