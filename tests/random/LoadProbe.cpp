#include "random/LoadProbe.h"

#include "random/Payload.h"
#include "runtime/channels/StandardStreams.h"
#include "support/ChildMain.h"

#include <algorithm>
#include <chrono>

namespace test
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t pauseMs = 30;

std::uint64_t UsSince(Clock::time_point start)
{
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count());
}

/// Does a little work again and again, and tells how long it took.
const ChildRegistration probe("load-probe",
    [](const std::vector<std::string>&)
    {
        const std::string data(4'000'000, 'x');
        qpr::StandardOutput output;
        for (;;)
        {
            const auto start = Clock::now();
            const bool isOdd = HashOf(data) % 2 != 0; // looked at, or nothing would be done
            const std::string line = std::to_string(UsSince(start)) + (isOdd ? "\n" : " \n");
            output.Write(line.data(), line.size());
            qpr::Thread::Sleep(pauseMs);
        }
        return 0;
    });

} // namespace

LoadProbe::LoadProbe()
    : m_child(StartOfChild("load-probe"))
    , m_thread(*this)
{
    m_child.process->SetPriorityLevel(qpr::PriorityLevel::Idle);
}

void LoadProbe::Run()
{
    std::uint64_t quickest = ~std::uint64_t(0);
    for (;;)
    {
        const std::uint64_t took = std::max<std::uint64_t>(std::stoull(m_child.ReadLine()), 1);
        quickest = std::min(quickest, took);
        m_nowUs += (pauseMs * 1000 + quickest) * quickest / took;
    }
}

} // namespace test
