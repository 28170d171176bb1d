// How well the hybrid connector fills this computer and the network together: 200 calls that sleep 50 ms each, over 2
// slots here and 6 at a distributor, beside the ideal; and what the local and the network connector need alone.

#include "bench/DistributorProcess.h"
#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "client/ServiceConnectors.h"

#include <qxmi/IServiceConnectionW.h>

#include <atomic>
#include <vector>

namespace
{

constexpr int callCount = 200;
constexpr double callMs = 50;
constexpr int localSlots = 2;
constexpr int networkSlots = 6;
constexpr int turns = 3;

struct Fill
{
    double ms = 0;
    int callsHere = 0;
};

/// All calls created at once, on a connector that has nothing else to do.
Fill RunCalls(qxmi::IServiceConnectorW& connector)
{
    std::atomic<int> callsHere = 0;
    bench::Request request(L"Sleep",
        [&](qxmi::IServiceConnectionW& connection)
        {
            callsHere += connection.IsLocal() ? 1 : 0;
            connection.InputStream().get(); // until it has slept
        });
    Fill fill;
    fill.ms = 1e3
        * bench::WallSeconds(
            [&]
            {
                std::vector<bench::CallPtr> calls;
                for (int i = 0; i < callCount; ++i)
                    calls.emplace_back(connector.CreateServiceCall(request));
                for (const bench::CallPtr& call : calls)
                    call->Wait();
            });
    fill.callsHere = callsHere;
    return fill;
}

/// The median turn's.
Fill MeasureFill(qxmi::IServiceConnectorW& connector)
{
    std::vector<Fill> fills;
    for (int turn = 0; turn < turns; ++turn)
        fills.push_back(RunCalls(connector));
    std::sort(fills.begin(), fills.end(), [](const Fill& a, const Fill& b) { return a.ms < b.ms; });
    return fills[turns / 2];
}

bool CompareWithIdeal(const char* what, qxmi::IServiceConnectorW& connector, int slots, double limit)
{
    const Fill fill = MeasureFill(connector);
    std::printf("%d of %d calls ran on this computer\n", fill.callsHere, callCount);
    return bench::Compare(what, fill.ms, "ideal", callCount * callMs / slots, "ms", bench::Reach::AtMost, limit);
}

} // namespace

int main()
{
    const bench::Installation services("bench_call_servant", {"Sleep"});
    const bench::DistributorProcess distributor(services, networkSlots, L"other");
    const bench::Installation installation("bench_call_servant", {"Sleep"}, distributor.Port());
    qxm::LocalExecutionSettings local;
    local.maxLocalServants = localSlots;
    local.maxRunningNoWaitCalls = 0; // no more slots than these

    const bench::ConnectorPtr hybrid = installation.MakeConnector<QxClient::HybridServiceConnector>({}, local);
    const bool ok = CompareWithIdeal("hybrid connector", *hybrid, localSlots + networkSlots, 1.15);
    CompareWithIdeal("local connector alone", *installation.MakeConnector<QxClient::LocalServiceConnector>({}, local),
        localSlots, 1.15);
    CompareWithIdeal("network connector alone", *installation.MakeConnector<QxClient::NetworkServiceConnector>(),
        networkSlots, 1.15);
    return ok ? 0 : 1;
}
