#include "FunctionRunnable.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/ThreadEvent.h"

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <pthread.h>
#include <unistd.h>

TEST(ThreadPosixTest, ItsThreadHasANameAndLeavesTheProcesssSignalsToTheApplication)
{
    sigset_t terminate, before;
    sigemptyset(&terminate);
    sigaddset(&terminate, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &terminate, &before);
    char name[16] = {};
    qpr::ThreadEvent started(qpr::ThreadEvent::Kind_AutoReset);
    test::FunctionRunnable runnable(
        [&]
        {
            pthread_getname_np(pthread_self(), name, sizeof name);
            started.Signal();
            qpr::Thread::Sleep(qpr::Infinite);
        });
    {
        const qpr::Thread thread(runnable, "qx starter");
        started.Wait();
        EXPECT_STREQ(name, "qx starter");
        kill(getpid(), SIGTERM); // would end the process if the thread took it
        const timespec limit{10, 0};
        EXPECT_EQ(sigtimedwait(&terminate, nullptr, &limit), SIGTERM);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}
