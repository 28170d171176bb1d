#include "runtime/InterruptSignal.h"

#include "runtime/Thread.h"

#include <gtest/gtest.h>

#include <csignal>

namespace
{

bool IsSignalled(const qpr::InterruptSignal& interrupt)
{
    return qpr::Thread::WaitForObject(interrupt.Object(), L"test", 0, true);
}

TEST(InterruptSignalTest, StandsForTheEndOfTheProcessWhileItLives)
{
    for (const int signal : {SIGINT, SIGTERM})
    {
        const qpr::InterruptSignal interrupt;
        EXPECT_FALSE(IsSignalled(interrupt));
        std::raise(signal);
        EXPECT_TRUE(IsSignalled(interrupt));
        EXPECT_TRUE(IsSignalled(interrupt));
    }
    EXPECT_DEATH(std::raise(SIGTERM), "");
}

} // namespace
