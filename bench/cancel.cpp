// How long it takes from Cancel to the end of a call, here and by a distributor on loopback: 200 calls, one after the
// other, of servants that end with their channels (one that reads, one of the kit that computes), the 99th percentile;
// and 40 calls, eight at a time, of a servant that ignores everything and has to be ended after the grace time, the
// longest.

#include "bench/DistributorProcess.h"
#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "client/LocalServiceConnector.h"
#include "client/NetworkServiceConnector.h"
#include "runtime/ThreadEvent.h"

#include <qxmi/IServiceConnectionW.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace
{

constexpr int atATime = 8;

/// The seconds from cancel to end of each call; all of them talk to their servants when they are cancelled.
std::vector<double> CancelCalls(qxmi::IServiceConnectorW& connector, const wchar_t* service, int count)
{
    std::vector<double> seconds;
    qpr::ThreadEvent talking(qpr::ThreadEvent::Kind_AutoReset);
    bench::Request request(service,
        [&talking](qxmi::IServiceConnectionW& connection)
        {
            talking.Signal();
            connection.InputStream().peek();
        });
    for (int i = 0; i < count; ++i)
    {
        const bench::CallPtr call(connector.CreateServiceCall(request));
        talking.Wait();
        seconds.push_back(bench::WallSeconds(
            [&call]
            {
                call->Cancel();
                call->Wait();
            }));
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds;
}

bool MeasureEndingServants(qxmi::IServiceConnectorW& connector, const wchar_t* service, const char* what, int count)
{
    const std::vector<double> seconds = CancelCalls(connector, service, count);
    const double percentile = seconds[(seconds.size() * 99 + 99) / 100 - 1];
    std::printf("%-44s median %.4f s, longest %.4f s\n", what, seconds[seconds.size() / 2], seconds.back());
    return bench::Compare(what, percentile, "p99 allowed", 0.2, "s", bench::Reach::AtMost, 1);
}

bool MeasureStubbornServants(qxmi::IServiceConnectorW& connector, const char* what, int count)
{
    std::vector<double> longest(atATime);
    {
        std::vector<std::jthread> threads;
        for (double& own : longest)
            threads.emplace_back([&] { own = CancelCalls(connector, L"Ignore", count / atATime).back(); });
    }
    const double seconds = *std::max_element(longest.begin(), longest.end());
    return bench::Compare(what, seconds, "longest allowed", 5.5, "s", bench::Reach::AtMost, 1);
}

/// Where calls run: here, or by a distributor that stands for another computer.
class Way
{
public:
    Way(bool isLocal, const char* servant, std::initializer_list<const char*> services)
        : m_offered(servant, services)
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

    qxmi::IServiceConnectorW& Connector() const noexcept { return *m_connector; }

private:
    bench::Installation m_offered;
    std::optional<bench::DistributorProcess> m_distributor;
    std::optional<bench::Installation> m_directions; ///< names the distributor's port
    bench::ConnectorPtr m_connector;
};

} // namespace

int main(int argc, char** argv)
{
    const int count = argc > 1 ? std::atoi(argv[1]) : 200;
    const int stubbornCount = argc > 2 ? std::atoi(argv[2]) : 40;
    bool ok = true;
    for (const bool isLocal : {true, false})
    {
        const Way plain(isLocal, "bench_call_servant", {"Echo", "Ignore"});
        const Way kit(isLocal, "bench_kit_servant", {"Compute"});
        ok &= MeasureEndingServants(plain.Connector(), L"Echo",
            isLocal ? "a servant that reads, here" : "a servant that reads, by distributor", count);
        ok &= MeasureEndingServants(kit.Connector(), L"Compute",
            isLocal ? "a kit servant that computes, here" : "a kit servant that computes, by distributor", count);
        ok &= MeasureStubbornServants(plain.Connector(),
            isLocal ? "a servant that ignores everything, here" : "a servant that ignores all, by distributor",
            stubbornCount);
    }
    return ok ? 0 : 1;
}
