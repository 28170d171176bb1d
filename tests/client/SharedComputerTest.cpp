#include "client/LocalComputer.h"
#include "client/RecordingRequest.h"
#include "client/ServiceConnectors.h"
#include "protocol/ICallContext.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/Wait.h"
#include "support/ChildMain.h"
#include "support/PipedChild.h"
#include "worktable/TestTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <sstream>

// Several client processes share a computer of 8 processors and 4000 MB. Each tells the test on one common pipe, in the
// order in which it happens, which calls start and end; a call ends when the test lets it go.

namespace
{

constexpr int processCount = 5;
constexpr int callsPerProcess = 12;

/// One of the calls: what it asks for, and what the formulas below make of that.
struct SampleCall
{
    explicit SampleCall(int number)
        : id(std::to_string(number))
        , attributes{{L"Id", std::to_wstring(number)}, {L"Mode", number % 4 == 0 ? L"wide" : L"narrow"},
              {L"Threads", std::to_wstring(1 + number % 3)}, {L"Size", std::to_wstring(1 + number * number % 7)}}
        , processors(number % 4 == 0 ? 4 : 1 + number % 3)
        , memoryInMB(200 * (1 + number * number % 7) + 50 * (number % 4 == 0 ? 4 : 1))
    {
    }

    std::string id;
    std::map<std::wstring, std::wstring> attributes;
    int processors;
    int memoryInMB;
};

qxm::ServicesMap Services()
{
    auto service = qpr::MakeCounted<qxm::LocalServiceInfo>(qpr::MakeCounted<qxm::ServantInfo>());
    service->name = L"Work";
    service->expectedResourceUsageHelpers =
        L"Wide = Mode == 'wide'; Parts = if Wide then ProcessorCount / 2 else float Threads; Base = Size * 200;";
    service->expectedProcessorUsage = L"Parts";
    service->expectedMemoryUsageInMB = L"Base + (if Wide then 200 else 50)";
    qxm::ServicesMap services;
    services.emplace(L"Work", service);
    return services;
}

class TellingExecutor final : public QxClient::ICallExecutor
{
public:
    void LetGo(const std::string& id) { EventOf(id).Signal(); }

    void RunLocally(qxm::ICallContext& call, const qxm::LocalServiceInfo&, const qxm::ExpectedUsage& usage) override
    {
        const std::string id = qpr::ToUtf8(call.Attributes().at(L"Id"));
        Tell("start " + id, usage);
        qpr::Wait(call.GetCancellation()).For(EventOf(id).Object(), L"TellingExecutor");
        Tell("end " + id, usage);
    }

    bool RunOnNetwork(qxm::ICallContext&, std::optional<qpr::WaitObject>, const std::function<void()>&) override
    {
        throw std::logic_error("no network");
    }

private:
    void Tell(const std::string& event, const qxm::ExpectedUsage& usage)
    {
        std::ostringstream line;
        line << event << ' ' << usage.processors << ' ' << usage.memoryInMB << '\n';
        const std::lock_guard lock(m_lock);
        std::cout << line.str() << std::flush;
    }

    qpr::ThreadEvent& EventOf(const std::string& id)
    {
        const std::lock_guard lock(m_lock);
        return m_events.try_emplace(id, qpr::ThreadEvent::Kind_AutoReset).first->second;
    }

    std::mutex m_lock;
    std::map<std::string, qpr::ThreadEvent> m_events;
};

/// Queues its calls and lets go those that it reads the names of. Arguments: the table's name, its first call's number.
int MakeCalls(const std::vector<std::string>& arguments)
{
    qxm::HostDescription host;
    host.cpuCount = 8;
    host.memorySizeInMB = 8000;
    qxm::LocalExecutionSettings settings;
    settings.physicalMemoryUtilizationLimit = 0.5F;
    settings.maxRunningNoWaitCalls = 0;
    qxm::WorkTableOptions table;
    table.baseName = qpr::FromUtf8(arguments.at(0));
    table.clock = [] { return std::int64_t{1'000'000}; };

    auto owned = std::make_unique<TellingExecutor>();
    TellingExecutor& executor = *owned;
    auto* connector = new QxClient::LocalServiceConnector(
        {}, std::make_unique<QxClient::LocalComputer>(Services(), host, settings, table), std::move(owned));
    connector->AddRef();
    std::deque<test::RecordingRequest> requests;
    std::vector<qxmi::IServiceCall*> calls;
    for (int i = 0; i < callsPerProcess; ++i)
    {
        requests.emplace_back(L"Work", SampleCall(std::stoi(arguments.at(1)) + i).attributes);
        calls.push_back(connector->CreateServiceCall(requests.back()));
    }
    for (std::string id; std::getline(std::cin, id);)
        executor.LetGo(id);
    int failed = 0;
    for (int i = 0; i < callsPerProcess; ++i)
    {
        calls[i]->Wait();
        calls[i]->Release();
        failed += requests[i].Notifications().empty() ? 0 : 1;
    }
    connector->Release();
    return failed;
}

const test::ChildRegistration registration("client-make-calls", MakeCalls);

struct Client
{
    Client(const std::wstring& tableName, int firstCall, const qpr::PipeEnd& events)
    {
        qpr::ProcessStart start = test::StartOfChild("client-make-calls", {tableName, std::to_wstring(firstCall)});
        start.standardInput = input.server.Handle();
        start.standardOutput = events.Handle();
        start.standardError = events.Handle();
        process.emplace(start);
        input.server.Close();
    }

    void LetGo(const std::string& id) { qpr::IOWriter(input.client.Handle()).Write((id + "\n").data(), id.size() + 1); }

    std::uint32_t ExitCode()
    {
        input.client.Close();
        process->WaitForCompletion();
        return process->CollectExitStatus().exitCode;
    }

    qpr::PipePair input = qpr::PipePair::ToChild();
    std::optional<qpr::ChildProcess> process;
};

/// The calls by number, and what those that run use together.
class Computer
{
public:
    bool HasWaiting() const { return !m_waiting.empty(); }
    bool HasRunning() const { return !m_running.empty(); }
    void Add(int number) { m_waiting.insert(number); }
    bool FitsAny() const
    {
        return std::ranges::any_of(m_waiting, [this](int number) { return Fits(SampleCall(number)); });
    }

    /// False for a call that does not wait or for which there is no room.
    bool Start(int number)
    {
        const SampleCall call(number);
        const bool wasFit = Fits(call) && m_waiting.erase(number) == 1;
        m_running.push_back(number);
        m_processors += call.processors;
        m_memoryInMB += call.memoryInMB;
        return wasFit;
    }

    /// A client was killed: nothing more is heard of its calls.
    void Forget(int firstNumber)
    {
        for (int number = firstNumber; number < firstNumber + callsPerProcess; ++number)
        {
            m_waiting.erase(number);
            if (std::erase(m_running, number) == 1)
                Free(SampleCall(number));
        }
    }

    int AnyRunning(std::size_t which) const { return m_running[which % m_running.size()]; }

    int End(std::size_t which)
    {
        const int number = AnyRunning(which);
        std::erase(m_running, number);
        Free(SampleCall(number));
        return number;
    }

private:
    void Free(const SampleCall& call)
    {
        m_processors -= call.processors;
        m_memoryInMB -= call.memoryInMB;
    }

    bool Fits(const SampleCall& call) const
    {
        return m_processors + call.processors <= 8 && m_memoryInMB + call.memoryInMB <= 4000;
    }

    std::set<int> m_waiting;
    std::vector<int> m_running;
    int m_processors = 0;
    int m_memoryInMB = 0;
};

std::string Told(const char* what, int number)
{
    const SampleCall call(number);
    return std::string(what) + ' ' + call.id + ' ' + std::to_string(call.processors) + ' '
        + std::to_string(call.memoryInMB);
}

} // namespace

TEST(SharedComputer, ProcessesStartEveryCallThatFitsAndNeverOneMoreAlsoWhenSomeAreKilled)
{
    const test::UniqueName tableName;
    qpr::PipePair events = qpr::PipePair::FromChild();
    std::deque<Client> clients;
    Computer computer;
    for (int i = 0; i < processCount; ++i)
    {
        clients.emplace_back(tableName.Text(), i * callsPerProcess, events.client);
        for (int call = 0; call < callsPerProcess; ++call)
            computer.Add(i * callsPerProcess + call);
    }
    events.client.Close();
    const auto readLine = [&]
    {
        std::string line;
        char byte = 0;
        while (qpr::PipeReader(events.server.Handle()).Read(&byte, 1) == 1 && byte != '\n')
            line += byte;
        return line;
    };

    std::mt19937 random(1);
    std::set<std::size_t> killed;
    while (computer.HasWaiting() || computer.HasRunning())
    {
        if (computer.FitsAny())
        {
            const std::string line = readLine();
            ASSERT_TRUE(line.starts_with("start ")) << line;
            const int number = std::stoi(line.substr(6));
            ASSERT_EQ(line, Told("start", number));
            ASSERT_TRUE(computer.Start(number)) << "no room for " << line;
        }
        else if (killed.size() < 2 && random() % 4 == 0)
        {
            const auto victim = static_cast<std::size_t>(computer.AnyRunning(random()) / callsPerProcess);
            killed.insert(victim);
            clients[victim].process->Terminate();
            clients[victim].ExitCode();
            computer.Forget(static_cast<int>(victim) * callsPerProcess);
        }
        else
        {
            const int number = computer.End(random());
            clients[static_cast<std::size_t>(number / callsPerProcess)].LetGo(std::to_string(number));
            ASSERT_EQ(readLine(), Told("end", number)) << "nothing else had room";
        }
    }
    for (std::size_t i = 0; i < clients.size(); ++i)
    {
        if (!killed.contains(i))
        {
            EXPECT_EQ(clients[i].ExitCode(), 0U);
        }
    }
}
