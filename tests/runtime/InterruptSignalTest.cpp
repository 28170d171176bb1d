#include "runtime/processes/InterruptSignal.h"

#include "runtime/threads/Thread.h"

#include <gtest/gtest.h>

#include <csignal>

namespace
{

#ifdef SIGHUP
const int stopSignals[] = {SIGINT, SIGTERM, SIGHUP};
#else
const int stopSignals[] = {SIGINT, SIGTERM};
#endif

bool IsSignalled(const qpr::InterruptSignal& interrupt)
{
    return qpr::Thread::TryWaitForObject(interrupt.Object(), L"test", 0);
}

TEST(InterruptSignalTest, StandsForTheEndOfTheProcessWhileItLives)
{
    for (const int signal : stopSignals)
    {
        std::signal(signal, SIG_DFL); // whatever the test program was started with
        const qpr::InterruptSignal interrupt;
        EXPECT_FALSE(IsSignalled(interrupt));
        std::raise(signal);
        EXPECT_TRUE(IsSignalled(interrupt));
        EXPECT_TRUE(IsSignalled(interrupt));
    }
    EXPECT_DEATH(std::raise(SIGTERM), "");
    std::signal(stopSignals[0], SIG_IGN);
    {
        const qpr::InterruptSignal interrupt;
        std::raise(stopSignals[0]);
        EXPECT_FALSE(IsSignalled(interrupt)) << "what was ignored before stays so";
    }
    std::signal(stopSignals[0], SIG_DFL);
}

} // namespace
