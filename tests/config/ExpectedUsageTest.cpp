#include "config/ExpectedUsage.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>

using namespace qxm;
using test::ErrorOf;

namespace
{

using Attributes = std::map<std::wstring, std::wstring>;

constexpr float infinite = std::numeric_limits<float>::infinity();

qpr::CountedPtr<LocalServiceInfo> Service(
    const wchar_t* processors, const wchar_t* memory, const wchar_t* helpers = L"")
{
    const auto servant = qpr::MakeCounted<ServantInfo>();
    const auto service = qpr::MakeCounted<LocalServiceInfo>(servant);
    service->name = L"S";
    service->expectedProcessorUsage = processors;
    service->expectedMemoryUsageInMB = memory;
    service->expectedResourceUsageHelpers = helpers;
    return service;
}

LocalLimits Limits(std::uint64_t processors, std::uint64_t memoryInMB)
{
    return LocalLimits(processors, memoryInMB, {});
}

} // namespace

TEST(ExpectedUsage, ComesFromTheFormulasAndTheAttributes)
{
    const struct
    {
        const wchar_t* processors;
        const wchar_t* memory;
        const wchar_t* helpers;
        Attributes attributes;
        std::uint32_t numberOfProcessors;
        float expectedProcessors;
        float expectedMemory;
    } cases[] = {
        // The memory decides the number of processors; limits are 8 processors and 450 MB.
        {L"ProcessorCount", L"100 * ProcessorCount", L"", {}, 4, 4, 400},
        {L"ProcessorCount", L"450 / 8 * ProcessorCount", L"", {}, 8, 8, 450},
        {L"ProcessorCount", L"500 * ProcessorCount", L"", {}, 1, 1, 500},
        {L"ProcessorCount", L"1 / (ProcessorCount - ProcessorCount)", L"", {}, 1, 1, infinite},
        // Without ProcessorCount in it the processors are those offered.
        {L"ProcessorCount / 2", L"700", L"", {}, 0, 4, 700},
        {L"0", L"0", L"", {}, 0, 0, 0},
        {L"Share", L"Size * Share", L"Share = if Fast then 2 else 1; Unused = Other + 1;",
            {{L"Fast", L"true"}, {L"Size", L"2.5"}, {L"Ignored", L"text"}}, 0, 2, 5},
        {L"if Mode == 'big' then 3 else 1", L"1", L"", {{L"Mode", L"big"}}, 0, 3, 1},
        // The helper is the service's own, whatever attribute has its name.
        {L"H", L"H", L"H = 7;", {{L"H", L"1"}}, 0, 7, 7},
        // Through a helper.
        {L"1", L"PerProcessor * 100", L"PerProcessor = float ProcessorCount;", {}, 4, 1, 400},
    };
    for (const auto& c : cases)
    {
        const ExpectedUsage usage =
            ComputeExpectedUsage(*Service(c.processors, c.memory, c.helpers), c.attributes, Limits(8, 450), 1);
        EXPECT_EQ(usage.numberOfProcessorsToUse, c.numberOfProcessors) << c.memory;
        EXPECT_EQ(usage.processors, c.expectedProcessors) << c.processors;
        EXPECT_EQ(usage.memoryInMB, c.expectedMemory) << c.memory;
        EXPECT_EQ(usage.addressSpaceExcessInMB, c.expectedMemory - 2048);
    }
}

TEST(ExpectedUsage, NamesTheServiceInEveryError)
{
    const struct
    {
        const wchar_t* processors;
        const wchar_t* memory;
        const wchar_t* helpers;
        Attributes attributes;
        const char* error;
    } cases[] = {
        {L"B - 2 * ProcessorCount", L"1", L"", {{L"B", L"1"}},
            "ExpectedProcessorUsage of service 'S' evaluated to invalid value -15 using input variable values B = 1, "
            "ProcessorCount = 8"},
        {L"1", L"if M == 'x' and T then -0.5 else 1", L"", {{L"M", L"x"}, {L"T", L"true"}},
            "ExpectedMemoryUsageInMB of service 'S' evaluated to invalid value -0.5 using input variable values "
            "M = 'x', T = true"},
        {L"1", L"-1", L"", {}, "ExpectedMemoryUsageInMB of service 'S' evaluated to invalid value -1"},
        {L"1", L"1", L"", {{L"ProcessorCount", L"1"}},
            "Illegal attribute ProcessorCount in service request attributes"},
        {L"1", L"A", L"", {{L"A", L"x"}}, "Invalid A string 'x': value is not a float."},
        {L"1", L"A", L"", {}, "Missing definition for helper variable 'A'"},
        {L"1", L"if ProcessorCount == 'x' then 1 else 2", L"", {},
            "Reference to input variable ProcessorCount has incorrect type string, should be float"},
        {L"1", L"1", L"ProcessorCount = 'x';", {},
            "Reference to input variable ProcessorCount has incorrect type string, should be float"},
        {L"1 +", L"1", L"", {}, "Missing token at end of ExpectedProcessorUsage of service 'S'"},
        {L"1", L"true", L"", {},
            "Wrong result type bool (should be float) at end of ExpectedMemoryUsageInMB of service 'S'"},
        {L"1", L"1", L"1", {},
            "Expected variable name but got '1' at position 1 of ExpectedResourceUsageHelpers of service 'S'"},
    };
    for (const auto& c : cases)
    {
        const auto service = Service(c.processors, c.memory, c.helpers);
        const auto compute = [&] { ComputeExpectedUsage(*service, c.attributes, Limits(8, 450), 1); };
        EXPECT_EQ(ErrorOf(compute), c.error);
        EXPECT_EQ(ErrorOf(compute), c.error); // the same at the next call
    }
}

TEST(ExpectedUsage, OfAnUnknownServiceIsAnEqualShareOfTheLimits)
{
    for (const auto& service : {Service(L"", L"1"), Service(L"1", L""), Service(L"", L"", L"not looked at")})
        EXPECT_EQ(
            ComputeExpectedUsage(*service, {{L"ProcessorCount", L"1"}}, Limits(8, 450), 1).numberOfProcessorsToUse, 0u);

    const auto service = Service(L"", L"");
    for (const std::uint32_t count : {1u, 3u, 7u, 10u, 100u})
    {
        const LocalLimits limits = Limits(7, 24105);
        const ExpectedUsage usage = ComputeExpectedUsage(*service, {}, limits, count);
        float processors = 0;
        float memory = 0;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            processors += usage.processors;
            memory += usage.memoryInMB;
        }
        EXPECT_LE(processors, limits.processors) << count;
        EXPECT_LE(memory, limits.memoryInMB) << count;
        EXPECT_GT(processors + usage.processors, limits.processors) << count;
        EXPECT_GT(memory + usage.memoryInMB, limits.memoryInMB) << count;
    }
    const ExpectedUsage none = ComputeExpectedUsage(*service, {}, Limits(0, 0), 4);
    EXPECT_GT(none.processors, 0.0f);
    EXPECT_GT(none.memoryInMB, 0.0f);
}

TEST(LocalLimits, AreFractionsOfTheComputer)
{
    LocalExecutionSettings settings;
    settings.processorUtilizationLimit = 1.5f;
    settings.physicalMemoryUtilizationLimit = 0.25f;
    const LocalLimits limits(3, 1000, settings);
    EXPECT_EQ(limits.processors, 4.5f);
    EXPECT_EQ(limits.memoryInMB, 250.0f);
    EXPECT_EQ(limits.OfferedProcessors(), 4u);
    EXPECT_EQ(Limits(0, 0).OfferedProcessors(), 1u);
}

TEST(ExpectedUsage, MayBeAskedBySeveralThreadsAtOnce)
{
    const auto service = Service(L"P", L"P * ProcessorCount", L"P = if Name == 'x' then Size else 1;");
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int size = 1; size <= 4; ++size)
    {
        threads.emplace_back(
            [&service, &wrong, size]
            {
                for (int i = 0; i < 200; ++i)
                {
                    const ExpectedUsage usage = ComputeExpectedUsage(
                        *service, {{L"Name", L"x"}, {L"Size", std::to_wstring(size)}}, Limits(8, 10), 1);
                    wrong += usage.memoryInMB != static_cast<float>(std::min(8, 10 / size) * size) ? 1 : 0;
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
