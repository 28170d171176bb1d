// How long it takes from Cancel to the end of a call here, and by a distributor on loopback until its slot carries the
// next call: 200 calls, one after the other, of servants that end with their channels (one that reads, one of the kit
// that computes), the 99th percentile; and 40 calls, eight at a time, of a servant that ignores everything and has to
// be ended after the grace time, the longest. A bare program that computes until its reader has gone stands beside
// them: it shows for how long the computer itself holds up such a program's end.

#include "bench/DistributorProcess.h"
#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "client/ServiceConnectors.h"
#include "runtime/threads/ThreadEvent.h"

#include <qxmi/IServiceConnectionW.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The seconds from each call's cancel to its end, or to where the next call talks to a servant in its place. All calls
/// talk to their servants when they are cancelled.
std::vector<double> CancelCalls(qxmi::IServiceConnectorW& connector, const wchar_t* service, int count, bool toNextCall)
{
    std::vector<double> seconds;
    Clock::time_point cancelled;
    qpr::ThreadEvent talking(qpr::ThreadEvent::Kind_AutoReset);
    bench::Request request(service,
        [&talking](qxmi::IServiceConnectionW& connection)
        {
            talking.Signal();
            connection.InputStream().peek();
        });
    for (int i = 0; i < count + toNextCall; ++i)
    {
        const bench::CallPtr call(connector.CreateServiceCall(request));
        talking.Wait();
        if (toNextCall && i != 0)
            seconds.push_back(SecondsSince(cancelled));
        cancelled = Clock::now();
        call->Cancel();
        call->Wait();
        if (!toNextCall)
            seconds.push_back(SecondsSince(cancelled));
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds;
}

double Percentile99(const std::vector<double>& sorted)
{
    return sorted[(sorted.size() * 99 + 99) / 100 - 1];
}

void Print(const char* what, const std::vector<double>& sorted)
{
    std::printf("%-44s median %.4f s, p99 %.4f s, longest %.4f s\n", what, sorted[sorted.size() / 2],
        Percentile99(sorted), sorted.back());
}

/// Where calls run: here, or by a distributor that stands for another computer and carries out so many at a time.
class Way
{
public:
    Way(bool isLocal, const char* servant, std::initializer_list<const char*> services, unsigned atATime)
        : m_isLocal(isLocal)
        , m_offered(servant, services)
    {
        if (isLocal)
        {
            qxm::LocalExecutionSettings local;
            local.maxLocalServants = atATime;
            m_connector = m_offered.MakeConnector<QxClient::LocalServiceConnector>({}, local);
            return;
        }
        m_distributor.emplace(m_offered, atATime, L"elsewhere");
        m_directions.emplace(servant, services, m_distributor->Port());
        m_connector = m_directions->MakeConnector<QxClient::NetworkServiceConnector>();
    }

    std::vector<double> CancelCalls(const wchar_t* service, int count) const
    {
        return ::CancelCalls(*m_connector, service, count, !m_isLocal);
    }

private:
    const bool m_isLocal;
    bench::Installation m_offered;
    std::optional<bench::DistributorProcess> m_distributor;
    std::optional<bench::Installation> m_directions; ///< names the distributor's port
    bench::ConnectorPtr m_connector;
};

bool MeasureEndingServants(const Way& way, const wchar_t* service, const char* what, int count)
{
    const std::vector<double> seconds = way.CancelCalls(service, count);
    Print(what, seconds);
    return bench::Compare(what, Percentile99(seconds), "p99 allowed", 0.2, "s", bench::Reach::AtMost, 1);
}

bool MeasureStubbornServants(bool isLocal, const char* what, int count)
{
    constexpr int atATime = 8;
    const Way way(isLocal, "bench_call_servant", {"Ignore"}, atATime);
    std::vector<double> longest(atATime);
    {
        std::vector<std::jthread> threads;
        for (double& own : longest)
            threads.emplace_back([&] { own = way.CancelCalls(L"Ignore", count / atATime).back(); });
    }
    const double seconds = *std::max_element(longest.begin(), longest.end());
    return bench::Compare(what, seconds, "longest allowed", 5.5, "s", bench::Reach::AtMost, 1);
}

} // namespace

int main(int argc, char** argv)
{
    const int count = argc > 1 ? std::atoi(argv[1]) : 200;
    const int stubbornCount = argc > 2 ? std::atoi(argv[2]) : 40;
    bool ok = true;
    for (const bool isLocal : {true, false})
    {
        const Way plain(isLocal, "bench_call_servant", {"Echo", "Compute"}, 1);
        const Way kit(isLocal, "bench_kit_servant", {"Compute"}, 1);
        ok &= MeasureEndingServants(
            plain, L"Echo", isLocal ? "a servant that reads, here" : "a servant that reads, by distributor", count);
        Print(isLocal ? "a bare one that computes, here" : "a bare one that computes, by distributor",
            plain.CancelCalls(L"Compute", count));
        ok &= MeasureEndingServants(kit, L"Compute",
            isLocal ? "a kit servant that computes, here" : "a kit servant that computes, by distributor", count);
        ok &= MeasureStubbornServants(isLocal,
            isLocal ? "a servant that ignores everything, here" : "a servant that ignores all, by distributor",
            stubbornCount);
    }
    return ok ? 0 : 1;
}
