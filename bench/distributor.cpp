// How many calls per second qx-distributor serves to 1, 10 and 100 clients at once, each making one call after the
// other, and what a client that waits for a slot costs it: memory and descriptors. Argument: rounds.

#include "bench/DistributorProcess.h"
#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "protocol/DistributorRequest.h"
#include "protocol/LineConversation.h"

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <thread>
#include <vector>

namespace
{

using bench::Reach;

constexpr int slots = 2;
constexpr int callsARound = 200;
constexpr std::size_t messageSize = 64;

/// A call with its servant there: the bare conversation, without a connector.
class Call
{
public:
    Call(const bench::DistributorProcess& distributor, const std::wstring& clientLine)
        : m_request(L"127.0.0.1", qpr::FromUtf8(distributor.Port()), {L"Echo", {}, true, false}, clientLine, {})
    {
        m_request.WaitUntilReady();
        ReadUntil('\n');
    }

    void Echo()
    {
        std::array<char, messageSize> message{};
        message.back() = 'e';
        qpr::SocketWriter(m_request.MainSocket()).Write(message.data(), message.size());
        ReadUntil('e');
    }

    void End()
    {
        m_request.MainSocket().Shutdown(qpr::Socket::Direction::Send);
        char byte = 0;
        while (qpr::SocketReader(m_request.LogSocket()).Read(&byte, 1) != 0)
            continue;
    }

private:
    void ReadUntil(char end)
    {
        qpr::SocketReader reader(m_request.MainSocket());
        std::array<char, 256> piece;
        for (std::size_t count = 1; count != 0;)
        {
            count = reader.Read(piece.data(), piece.size());
            if (count != 0 && piece[count - 1] == end)
                return;
        }
    }

    qxm::DistributorRequest m_request;
};

/// Calls a second, made by so many clients at once.
double Rate(const bench::DistributorProcess& distributor, const std::wstring& clientLine, int clients)
{
    std::atomic<int> callsLeft = callsARound;
    const double seconds = bench::WallSeconds(
        [&]
        {
            std::vector<std::jthread> threads;
            for (int index = 0; index < clients; ++index)
                threads.emplace_back(
                    [&]
                    {
                        while (callsLeft.fetch_sub(1) > 0)
                        {
                            Call call(distributor, clientLine);
                            call.Echo();
                            call.End();
                        }
                    });
        });
    return callsARound / seconds;
}

bool CompareRates(const bench::DistributorProcess& distributor, const std::wstring& clientLine, int rounds)
{
    std::map<int, std::vector<double>> rates;
    for (int round = 0; round < rounds; ++round)
    {
        for (const int clients : {1, 10, 100})
            rates[clients].push_back(Rate(distributor, clientLine, clients));
    }
    const double alone = bench::MedianOf(rates[1]);
    bool ok = true;
    for (const int clients : {10, 100})
    {
        const std::string what = std::to_string(clients) + " clients at once";
        ok &= bench::Compare(
            what.c_str(), bench::MedianOf(rates[clients]), "1 client", alone, "calls/s", Reach::AtLeast, 1.0);
    }
    return ok;
}

struct ProcessCost
{
    double residentKiB = 0;
    double descriptors = 0;
};

ProcessCost CostOf(const bench::DistributorProcess& distributor)
{
    ProcessCost cost;
    const std::filesystem::path process = "/proc/" + std::to_string(distributor.ProcessId());
    std::ifstream status(process / "status");
    for (std::string word; status >> word;)
    {
        if (word == "VmRSS:")
            status >> cost.residentKiB;
    }
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(process / "fd"))
        ++cost.descriptors;
    return cost;
}

bool CompareWaitingClients(const bench::DistributorProcess& distributor, const std::wstring& clientLine)
{
    constexpr int waitingClients = 100;
    std::vector<std::unique_ptr<Call>> running;
    for (int index = 0; index < slots; ++index)
        running.push_back(std::make_unique<Call>(distributor, clientLine));
    const ProcessCost before = CostOf(distributor);

    std::vector<qpr::Socket> waiting(waitingClients);
    const qpr::SocketAddress address = qpr::SocketAddress::Resolve(L"127.0.0.1", qpr::FromUtf8(distributor.Port()));
    for (qpr::Socket& socket : waiting)
        qxm::SendServiceRequest(socket, address, {L"Echo", {}, true, false}, clientLine, {});
    const ProcessCost after = CostOf(distributor);
    waiting.clear();
    for (const auto& call : running)
        call->End();
    std::printf("descriptors of a waiting client: %.2f\n", (after.descriptors - before.descriptors) / waitingClients);
    return bench::Compare("memory of a waiting client", (after.residentKiB - before.residentKiB) / waitingClients,
        "allowance", 64, "KiB", Reach::AtMost, 1.0);
}

} // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 11;
    const bench::Installation services("bench_call_servant", {"Echo"});
    const bench::DistributorProcess distributor(services, slots);
    const std::wstring clientLine = qxm::DescribeLocalHost(L"client").Write();
    const bool memoryOk = CompareWaitingClients(distributor, clientLine); // first: nothing is cached from calls before
    return CompareRates(distributor, clientLine, rounds) && memoryOk ? 0 : 1;
}
