// What a whole local call costs (create, start, 64 bytes echoed, end, wait) beside the least that starts the same
// servant with the same three pipes at the same priority: posix_spawn and blocking system calls. And whether it matters
// how much memory the client holds.

#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "client/ServiceConnectors.h"

#include <qxmi/IServiceConnectionW.h>

#include <array>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using bench::Reach;

constexpr std::size_t messageSize = 64;
constexpr int callsATurn = 10; // of each side: then what else runs on the computer disturbs both alike

void Require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s failed\n", what);
    std::_Exit(1);
}

void EchoMessage(qxmi::IServiceConnectionW& connection)
{
    const std::array<char, messageSize> message{};
    std::array<char, messageSize> answer;
    connection.OutputStream().write(message.data(), message.size());
    connection.OutputStream().flush();
    connection.InputStream().read(answer.data(), answer.size());
}

/// The library's calls, one after the other.
void CallServants(qxmi::IServiceConnectorW& connector, int count)
{
    bench::Request request(L"Echo", EchoMessage);
    for (int i = 0; i < count; ++i)
    {
        const bench::CallPtr call(connector.CreateServiceCall(request));
        call->Wait();
    }
}

/// The same by hand.
class BareServant
{
public:
    explicit BareServant(const std::string& path)
    {
        int command[2], answer[2], log[2];
        Require(pipe2(command, O_CLOEXEC) == 0 && pipe2(answer, O_CLOEXEC) == 0 && pipe2(log, O_CLOEXEC) == 0, "pipe2");
        Start(path, {command[0], answer[1], log[1]});
        for (const int descriptor : {command[0], answer[1], log[1]})
            close(descriptor);
        m_command = command[1];
        m_answer = answer[0];
        m_log = log[0];
    }

    void Converse()
    {
        const std::array<char, messageSize> message{};
        std::array<char, 4096> data;
        ssize_t size = 0;
        do
        {
            const ssize_t count = read(m_answer, data.data() + size, data.size() - static_cast<std::size_t>(size));
            Require(count > 0, "read");
            size += count;
        } while (data[static_cast<std::size_t>(size) - 1] != '\n');
        Require(write(m_command, message.data(), message.size()) == messageSize, "write");
        for (std::size_t received = 0; received < messageSize;)
        {
            const ssize_t count = read(m_answer, data.data(), messageSize - received);
            Require(count > 0, "read");
            received += static_cast<std::size_t>(count);
        }
    }

    void End()
    {
        close(m_command);
        close(m_answer);
        std::array<char, 4096> data;
        while (read(m_log, data.data(), data.size()) > 0)
            continue;
        close(m_log);
        int status = 0;
        Require(waitpid(m_process, &status, 0) == m_process && status == 0, "servant");
    }

private:
    void Start(const std::string& path, const std::array<int, 3>& handles)
    {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        for (int number = 0; number < 3; ++number)
            posix_spawn_file_actions_adddup2(&actions, handles[static_cast<std::size_t>(number)], number);
        std::array<std::string, 5> texts{path, "execute", "Echo", "ClientId=here/1", "IsLocal=true"};
        std::array<char*, 6> arguments{};
        for (std::size_t i = 0; i < texts.size(); ++i)
            arguments[i] = texts[i].data();
        Require(posix_spawn(&m_process, path.c_str(), &actions, nullptr, arguments.data(), environ) == 0, "spawn");
        posix_spawn_file_actions_destroy(&actions);
        const sched_param parameters{};
        sched_setscheduler(m_process, SCHED_IDLE, &parameters);
    }

    pid_t m_process = 0;
    int m_command = -1;
    int m_answer = -1;
    int m_log = -1;
};

void CallBareServants(const std::string& path, int count)
{
    for (int i = 0; i < count; ++i)
    {
        BareServant servant(path);
        servant.Converse();
        servant.End();
    }
}

/// By two threads of the application at once.
template <class Calls>
void TwoAtATime(Calls calls)
{
    std::jthread other(calls);
    calls();
}

struct LocalCalls
{
    LocalCalls()
    {
        qxm::LocalExecutionSettings local;
        local.maxLocalServants = 2;
        connector = installation.MakeConnector<QxClient::LocalServiceConnector>({}, local);
    }

    bench::Installation installation{"bench_call_servant", {"Echo"}};
    bench::ConnectorPtr connector;
};

bool CompareWithBareCalls(int turns)
{
    LocalCalls local;
    const std::string path = bench::ProgramPath("bench_call_servant").string();
    const auto ours = [&] { CallServants(*local.connector, callsATurn); };
    const auto bare = [&] { CallBareServants(path, callsATurn); };
    const double perCall = 1e6 / callsATurn;

    const auto [one, bareOne] = bench::MeasureInTurns(turns, ours, bare);
    const bool oneOk = bench::Compare("local calls, one after the other", one * perCall, "bare posix_spawn",
        bareOne * perCall, "us", Reach::AtMost, 1.3);
    const auto [two, bareTwo] = bench::MeasureInTurns(
        turns, [&] { TwoAtATime(ours); }, [&] { TwoAtATime(bare); });
    return bench::Compare("local calls, two at a time", two * perCall / 2, "bare posix_spawn", bareTwo * perCall / 2,
               "us", Reach::AtMost, 1.45)
        && oneOk;
}

/// A process that makes calls when told, so that two that differ in what they hold can be measured in turns.
class Caller
{
public:
    explicit Caller(std::size_t residentBytes)
    {
        int orders[2], results[2];
        Require(pipe2(orders, O_CLOEXEC) == 0 && pipe2(results, O_CLOEXEC) == 0, "pipe2");
        m_process = fork();
        Require(m_process >= 0, "fork");
        if (m_process == 0)
        {
            close(orders[1]);
            Obey(residentBytes, orders[0], results[1]);
        }
        close(orders[0]);
        close(results[1]);
        m_orders = orders[1];
        m_results = results[0];
        ReceiveResult(); // that it is ready
    }
    ~Caller()
    {
        close(m_orders);
        close(m_results);
        waitpid(m_process, nullptr, 0);
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void MakeCalls()
    {
        Require(write(m_orders, "", 1) == 1, "write");
        ReceiveResult();
    }

private:
    [[noreturn]] static void Obey(std::size_t residentBytes, int orders, int results)
    {
        if (residentBytes != 0)
        {
            void* const memory =
                mmap(nullptr, residentBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            Require(memory != MAP_FAILED, "mmap");
            std::memset(memory, 1, residentBytes);
        }
        {
            LocalCalls local;
            char order = 0;
            do
                Require(write(results, &order, 1) == 1, "write");
            while (read(orders, &order, 1) == 1 && (CallServants(*local.connector, callsATurn), true));
        }
        std::_Exit(0);
    }

    void ReceiveResult()
    {
        char result = 0;
        Require(read(m_results, &result, 1) == 1, "read");
    }

    pid_t m_process = 0;
    int m_orders = -1;
    int m_results = -1;
};

bool CompareLargeClient(int turns)
{
    constexpr std::size_t fourGiB = std::size_t(4) << 30;
    Caller large(fourGiB);
    Caller small(0);
    const double perCall = 1e6 / callsATurn;
    const auto [withMemory, without] = bench::MeasureInTurns(
        turns, [&] { large.MakeCalls(); }, [&] { small.MakeCalls(); });
    return bench::Compare("local calls with 4 GiB in the client", withMemory * perCall, "without", without * perCall,
        "us", Reach::AtMost, 1.08);
}

} // namespace

int main(int argc, char** argv)
{
    const int turns = argc > 1 ? std::atoi(argv[1]) : 101;
    const bool sizeOk = CompareLargeClient(turns); // first: it forks, which a process with threads should not
    return CompareWithBareCalls(turns) && sizeOk ? 0 : 1;
}
