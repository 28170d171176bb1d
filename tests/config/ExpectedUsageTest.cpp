#include "config/ExpectedUsage.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <sstream>
#include <thread>

using namespace qxm;
using test::ErrorOf;

namespace
{

using Attributes = std::map<std::wstring, std::wstring>;

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

/// With 8 processors and 450 MB: the number of processors to use, processors and MB; or the error.
std::string Outcome(const LocalServiceInfo& service, const Attributes& attributes)
{
    std::ostringstream text;
    const std::string error = ErrorOf(
        [&]
        {
            const ExpectedUsage usage = ComputeExpectedUsage(service, attributes, Limits(8, 450), 1);
            EXPECT_EQ(usage.addressSpaceExcessInMB, usage.memoryInMB - 2048);
            text << usage.numberOfProcessorsToUse << ": " << usage.processors << ", " << usage.memoryInMB;
        });
    return error == "no error" ? text.str() : error;
}

} // namespace

TEST(ExpectedUsage, ComesFromTheFormulasAndTheAttributes)
{
    const std::tuple<qpr::CountedPtr<LocalServiceInfo>, Attributes, const char*> cases[] = {
        // The memory decides the number of processors.
        {Service(L"ProcessorCount", L"100 * ProcessorCount"), {}, "4: 4, 400"},
        {Service(L"ProcessorCount", L"450 / 8 * ProcessorCount"), {}, "8: 8, 450"},
        {Service(L"ProcessorCount", L"500 * ProcessorCount"), {}, "1: 1, 500"},
        {Service(L"ProcessorCount", L"1 / (ProcessorCount - ProcessorCount)"), {}, "1: 1, inf"},
        // Without ProcessorCount in it the processors are those offered.
        {Service(L"ProcessorCount / 2", L"700"), {}, "0: 4, 700"},
        {Service(L"0", L"0"), {}, "0: 0, 0"},
        {Service(L"Share", L"Size * Share", L"Share = if Fast then 2 else 1; Unused = Other + 1;"),
            {{L"Fast", L"true"}, {L"Size", L"2.5"}, {L"Ignored", L"text"}}, "0: 2, 5"},
        {Service(L"if Mode == 'big' then 3 else 1", L"1"), {{L"Mode", L"big"}}, "0: 3, 1"},
        // The helper is the service's own, whatever attribute has its name.
        {Service(L"H", L"H", L"H = 7;"), {{L"H", L"1"}}, "0: 7, 7"},
        // Through a helper.
        {Service(L"1", L"PerProcessor * 100", L"PerProcessor = float ProcessorCount;"), {}, "4: 1, 400"},
        // What cannot be computed names the service.
        {Service(L"B - 2 * ProcessorCount", L"1"), {{L"B", L"1"}},
            "ExpectedProcessorUsage of service 'S' evaluated to invalid value -15 using input variable values B = 1, "
            "ProcessorCount = 8"},
        {Service(L"1", L"if M == 'x' and T then -0.5 else 1"), {{L"M", L"x"}, {L"T", L"true"}},
            "ExpectedMemoryUsageInMB of service 'S' evaluated to invalid value -0.5 using input variable values "
            "M = 'x', T = true"},
        {Service(L"1", L"-1"), {}, "ExpectedMemoryUsageInMB of service 'S' evaluated to invalid value -1"},
        {Service(L"1", L"1"), {{L"ProcessorCount", L"1"}},
            "Illegal attribute ProcessorCount in service request attributes"},
        {Service(L"1", L"A"), {{L"A", L"x"}}, "Invalid A string 'x': value is not a float."},
        {Service(L"1", L"A"), {}, "ExpectedMemoryUsageInMB of service 'S': Missing definition for helper variable 'A'"},
        {Service(L"1", L"H * ProcessorCount * 1e9", L"H = 1 + A;"), {},
            "ExpectedMemoryUsageInMB of service 'S': Missing definition for helper variable 'A'"},
        {Service(L"1", L"if ProcessorCount == 'x' then 1 else 2"), {},
            "Reference to input variable ProcessorCount has incorrect type string, should be float"},
        {Service(L"1", L"1", L"ProcessorCount = 'x';"), {},
            "Reference to input variable ProcessorCount has incorrect type string, should be float"},
        {Service(L"1 +", L"1"), {},
            "ExpectedProcessorUsage of service 'S': Missing token at end of ExpectedProcessorUsage of service 'S'"},
        {Service(L"1", L"true"), {},
            "ExpectedMemoryUsageInMB of service 'S': Wrong result type bool (should be float) at end of "
            "ExpectedMemoryUsageInMB of service 'S'"},
        {Service(L"1", L"(if F then A else B) + 1"), {},
            "ExpectedMemoryUsageInMB of service 'S': qexpr::IfThenElse::SetDefinedValueType: value type already "
            "defined"},
        {Service(L"1", L"1", L"1"), {},
            "ExpectedResourceUsageHelpers of service 'S': Expected variable name but got '1' at position 1 of "
            "ExpectedResourceUsageHelpers of service 'S'"},
    };
    for (const auto& [service, attributes, outcome] : cases)
    {
        EXPECT_EQ(Outcome(*service, attributes), outcome);
        EXPECT_EQ(Outcome(*service, attributes), outcome); // the same at the next call
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
