// Whether a long queue makes calls dearer: what it costs to create a call, to start and end one of a service that is
// not available (so that the connector is all there is), to look at the queue for another process's change while
// nothing can be started, and to take calls out again; and how much memory a queued call takes.

#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "client/ServiceConnectors.h"
#include "runtime/threads/ThreadEvent.h"

#include <qxmi/IServiceConnectionW.h>

#include <array>
#include <ctime>
#include <malloc.h>
#include <string>
#include <thread>
#include <vector>

namespace
{

using bench::Reach;

constexpr std::array<int, 3> queueLengths{100, 10'000, 100'000};
constexpr int rounds = 5;

double ProcessorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <class Action>
double ProcessorSecondsOf(Action action)
{
    const double start = ProcessorSeconds();
    action();
    return ProcessorSeconds() - start;
}

std::size_t AllocatedBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// A running call that keeps the connector from starting others until it is let go.
class LongCall
{
public:
    explicit LongCall(qxmi::IServiceConnectorW& connector)
        : m_call(connector.CreateServiceCall(m_request))
    {
        m_running.Wait();
    }
    ~LongCall() { LetGo(); }

    void LetGo() { m_goOn.Signal(); }

private:
    qpr::ThreadEvent m_running{qpr::ThreadEvent::Kind_ManualReset};
    qpr::ThreadEvent m_goOn{qpr::ThreadEvent::Kind_ManualReset};
    bench::Request m_request{L"Echo",
        [this](qxmi::IServiceConnectionW&)
        {
            m_running.Signal();
            m_goOn.Wait();
        }};
    bench::CallPtr m_call;
};

/// What one call costs, in processor seconds of this process and in bytes.
struct CallCosts
{
    std::vector<double> create;
    std::vector<double> startAndEnd;
    std::vector<double> wallPerCall; ///< of starting and ending, by the wall clock
    std::vector<double> cancel;
    std::vector<double> look; ///< a look at the queue, not a call
    std::vector<double> lookAtVaried; ///< the same where no two calls need the same
    std::vector<double> cancelVaried;
    double bytes = 0;
};

using Calls = std::vector<qxmi::IServiceCall*>;

Calls Create(qxmi::IServiceConnectorW& connector, bench::Request& request, int count)
{
    Calls calls;
    calls.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        calls.push_back(connector.CreateServiceCall(request));
    return calls;
}

void Release(const Calls& calls)
{
    for (qxmi::IServiceCall* call : calls)
        call->Release();
}

/// Calls that fail as soon as they run, all created while a long call keeps them waiting, and then run one at a time.
void MeasureStarts(const bench::Installation& installation, int count, CallCosts& costs)
{
    qxm::ServiceConnectorSettings settings;
    settings.maxRunningCalls = 1;
    const bench::ConnectorPtr connector = installation.MakeConnector<QxClient::LocalServiceConnector>(settings);
    bench::Request request(L"Missing", {}, "Service 'Missing' not available on local computer");
    LongCall longCall(*connector);
    Calls calls;
    const std::size_t bytesBefore = AllocatedBytes();
    costs.create.push_back(ProcessorSecondsOf([&] { calls = Create(*connector, request, count); }) / count);
    costs.bytes = static_cast<double>(AllocatedBytes() - bytesBefore) / count;
    const auto runAll = [&]
    {
        longCall.LetGo();
        calls.back()->Wait(); // they run in their order
    };
    double processorSeconds = 0;
    costs.wallPerCall.push_back(bench::WallSeconds([&] { processorSeconds = ProcessorSecondsOf(runAll); }) / count);
    costs.startAndEnd.push_back(processorSeconds / count);
    Release(calls);
}

/// Another process as the connector sees one: a row of the same table that changes.
class OtherProcess
{
public:
    explicit OtherProcess(const std::wstring& table)
        : m_table(qxm::WorkTable::ScopeMode_PreferExistingGlobal, bench::Installation::TableNamed(table))
        , m_row(m_table)
    {
    }

    void Change(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            {
                qxm::WorkTable::Lock lock(m_table);
                m_row.Publish(lock, {{1, 1, static_cast<float>(i % 2)}, {}});
            }
            std::this_thread::sleep_for(std::chrono::microseconds(50)); // the look at it is to be one of its own
        }
    }

private:
    qxm::WorkTable m_table;
    qxm::WorkTable::JobManager::RowInWorkTable m_row;
};

/// Calls that cannot start beside a long call, while another process's changes make the connector look at them.
void MeasureRefusals(const bench::Installation& installation, int count, CallCosts& costs)
{
    constexpr int changes = 500;
    qxm::LocalExecutionSettings local;
    local.maxRunningNoWaitCalls = 0;
    const std::wstring table = bench::Installation::NewTableName();
    const bench::ConnectorPtr connector = installation.MakeConnector<QxClient::LocalServiceConnector>({}, local, table);
    OtherProcess other(table);
    bench::Request request(L"Echo");
    LongCall longCall(*connector);
    Calls calls = Create(*connector, request, count);
    costs.look.push_back(ProcessorSecondsOf([&] { other.Change(changes); }) / changes);
    costs.cancel.push_back(ProcessorSecondsOf([&] { connector->CancelServiceCalls(calls); }) / count);
    Release(calls);

    bench::Request varied(L"Varied");
    calls.clear();
    for (int i = 0; i < count; ++i)
    {
        varied.attributes = {{L"P", std::to_wstring(1 + i % 1000)}, {L"M", std::to_wstring(1 + i)}};
        calls.push_back(connector->CreateServiceCall(varied));
    }
    costs.lookAtVaried.push_back(ProcessorSecondsOf([&] { other.Change(changes); }) / changes);
    costs.cancelVaried.push_back(ProcessorSecondsOf([&] { connector->CancelServiceCalls(calls); }) / count);
    Release(calls);
}

bool CompareLengths(
    const char* what, const std::array<CallCosts, queueLengths.size()>& costs, std::vector<double> CallCosts::*cost)
{
    const double base = bench::MedianOf(costs[0].*cost) * 1e6;
    bool ok = true;
    for (std::size_t i = 1; i < queueLengths.size(); ++i)
    {
        const std::string text = std::string(what) + ", " + std::to_string(queueLengths[i]) + " queued";
        ok &= bench::Compare(
            text.c_str(), bench::MedianOf(costs[i].*cost) * 1e6, "100 queued", base, "us", Reach::AtMost, 1.2);
    }
    return ok;
}

} // namespace

int main()
{
    const bench::Installation installation("bench_call_servant", {"Echo"});
    std::array<CallCosts, queueLengths.size()> costs;
    for (int round = 0; round < rounds; ++round)
    {
        for (std::size_t i = 0; i < queueLengths.size(); ++i)
        {
            // A short queue is measured as often as it takes to be seen.
            const int repetitions = std::max(1, 1000 / queueLengths[i]);
            for (int repetition = 0; repetition < repetitions; ++repetition)
            {
                MeasureStarts(installation, queueLengths[i], costs[i]);
                MeasureRefusals(installation, queueLengths[i], costs[i]);
            }
        }
    }
    bool ok = CompareLengths("create a call", costs, &CallCosts::create);
    ok &= CompareLengths("start a call and see it end", costs, &CallCosts::startAndEnd);
    ok &= CompareLengths("look at the queue, nothing fits", costs, &CallCosts::look);
    ok &= CompareLengths("the same, all calls different", costs, &CallCosts::lookAtVaried);
    ok &= CompareLengths("cancel a queued call", costs, &CallCosts::cancel);
    ok &= CompareLengths("the same, all calls different", costs, &CallCosts::cancelVaried);
    for (std::size_t i = 0; i < queueLengths.size(); ++i)
    {
        const std::string what = "memory of a call, " + std::to_string(queueLengths[i]) + " queued";
        ok &= bench::Compare(what.c_str(), costs[i].bytes, "limit", 1536, "bytes", Reach::AtMost, 1);
    }
    for (std::size_t i = 0; i < queueLengths.size(); ++i)
        std::printf(
            "calls started per second, %d queued: %.0f\n", queueLengths[i], 1 / bench::MedianOf(costs[i].wallPerCall));
    return ok ? 0 : 1;
}
