// What working out a call's expected usage costs beside starting a servant for it: a bare posix_spawn of /bin/true and
// the wait for its end. The memory formula depends on the number of processors, and fits on one processor only, so that
// every number from 256 down is tried.

#include "bench/Report.h"
#include "config/ExpectedUsage.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int roundCount = 301;
constexpr std::uint64_t processorCount = 256;

double MicrosecondsOf(const auto& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double MedianOf(std::vector<double>& times)
{
    std::ranges::nth_element(times, times.begin() + times.size() / 2);
    return times[times.size() / 2];
}

void StartBareServant()
{
    char path[] = "/bin/true";
    char* arguments[] = {path, nullptr};
    pid_t process = 0;
    if (posix_spawn(&process, path, nullptr, nullptr, arguments, environ) != 0
        || waitpid(process, nullptr, 0) != process)
        std::abort();
}

qpr::CountedPtr<qxm::LocalServiceInfo> Service(const wchar_t* memory, const wchar_t* helpers)
{
    auto service = qpr::MakeCounted<qxm::LocalServiceInfo>(qpr::MakeCounted<qxm::ServantInfo>());
    service->name = L"Render";
    service->expectedProcessorUsage = L"ProcessorCount * 0.9";
    service->expectedMemoryUsageInMB = memory;
    service->expectedResourceUsageHelpers = helpers;
    return service;
}

bool CompareService(const char* what, const wchar_t* memory, const wchar_t* helpers)
{
    const auto service = Service(memory, helpers);
    const std::map<std::wstring, std::wstring> attributes = {{L"Mode", L"fine"}, {L"Size", L"640"}};
    const qxm::LocalLimits limits(processorCount, 1000, {});
    const auto compute = [&]
    {
        if (qxm::ComputeExpectedUsage(*service, attributes, limits, 1).numberOfProcessorsToUse != 1)
            std::abort();
    };

    compute(); // compiles the formulas
    std::vector<double> usageTimes;
    std::vector<double> startTimes;
    for (int round = 0; round < roundCount; ++round)
    {
        usageTimes.push_back(MicrosecondsOf(compute));
        startTimes.push_back(MicrosecondsOf(StartBareServant));
    }
    return bench::Compare(
        what, MedianOf(usageTimes), "posix_spawn /bin/true", MedianOf(startTimes), "us", bench::Reach::AtMost, 0.05);
}

} // namespace

int main()
{
    const bool formula = CompareService("expected usage, 256 processors",
        L"900 + Size * 0.5 * ProcessorCount + (if ProcessorCount > 4 then 200 else 100)", L"");
    const bool text = CompareService("with a text compared each time",
        L"500 + Size * 0.5 + (if Mode == 'fine' then 400 else 200) * ProcessorCount", L"");
    const bool helpers = CompareService("the same through helpers", L"Base + PerProcessor * ProcessorCount",
        L"Base = 500 + Size * 0.5; PerProcessor = if Mode == 'fine' then 400 else 200;");
    return formula && text && helpers ? 0 : 1;
}
