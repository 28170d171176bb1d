// What a call that runs on this computer costs through the hybrid connector beside the local connector.

#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "client/ServiceConnectors.h"

#include <qxmi/IServiceConnectionW.h>

#include <array>

namespace
{

constexpr int callsATurn = 10;

void EchoMessage(qxmi::IServiceConnectionW& connection)
{
    std::array<char, 64> message{};
    connection.OutputStream().write(message.data(), message.size());
    connection.OutputStream().flush();
    connection.InputStream().read(message.data(), message.size());
}

void CallServants(qxmi::IServiceConnectorW& connector)
{
    bench::Request request(L"Echo", EchoMessage);
    for (int i = 0; i < callsATurn; ++i)
    {
        const bench::CallPtr call(connector.CreateServiceCall(request));
        call->Wait();
    }
}

} // namespace

int main(int argc, char** argv)
{
    const int turns = argc > 1 ? std::atoi(argv[1]) : 201;
    const bench::Installation installation("bench_call_servant", {"Echo"});
    const bench::ConnectorPtr hybrid = installation.MakeConnector<QxClient::HybridServiceConnector>();
    const bench::ConnectorPtr local = installation.MakeConnector<QxClient::LocalServiceConnector>();
    const auto [hybridSeconds, localSeconds] = bench::MeasureInTurns(
        turns, [&] { CallServants(*hybrid); }, [&] { CallServants(*local); });
    const double perCall = 1e6 / callsATurn;
    return bench::Compare("local calls of the hybrid connector", hybridSeconds * perCall, "of the local connector",
               localSeconds * perCall, "us", bench::Reach::AtMost, 1.05)
        ? 0
        : 1;
}
