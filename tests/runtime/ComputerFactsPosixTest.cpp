#include "runtime/computer/ComputerFacts.h"

#include <gtest/gtest.h>

#include <sched.h>

TEST(ComputerFacts, CountTheProcessorsThatThisProcessMayUse)
{
    cpu_set_t all;
    ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
    int first = 0;
    while (!CPU_ISSET(first, &all))
        ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);

    EXPECT_LE(qpr::ComputerFacts::GetProcessors().logicalCount, static_cast<std::uint32_t>(CPU_COUNT(&all)));
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    const qpr::ComputerFacts::Processors processors = qpr::ComputerFacts::GetProcessors();
    ASSERT_EQ(sched_setaffinity(0, sizeof all, &all), 0);
    EXPECT_EQ(processors.logicalCount, 1u);
    EXPECT_EQ(processors.packageCount, 1u);
    EXPECT_EQ(processors.coresPerPackage, 1u);
    EXPECT_FALSE(processors.areHyperThreads);
}
