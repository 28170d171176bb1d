#include "bench/Report.h"
#include "runtime/CurrentProcess.h"
#include "worktable/RowInWorkTable.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <vector>

#include <pthread.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

// What a look at the work table costs, alone and with 40 processes that look all the time, beside a bare robust mutex
// around the same clock read and sum; and what telling 40 job managers costs, beside 40 bare datagrams.

namespace
{

using Clock = std::chrono::steady_clock;
using Row = qxm::WorkTable::JobManager::RowInWorkTable;

constexpr int processCount = 40;
constexpr int rounds = 9;

void Require(bool condition, const char* what)
{
    if (!condition)
    {
        std::perror(what);
        std::exit(1);
    }
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

template <class Action>
double NanosecondsPer(int count, Action action)
{
    const auto start = Clock::now();
    for (int i = 0; i < count; ++i)
        action();
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / count;
}

volatile float sink;

/// Memory that the processes forked from this one share.
template <class T>
T* Shared()
{
    void* const address = mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    Require(address != MAP_FAILED, "mmap");
    return new (address) T();
}

/// The peer: the least that keeps a table between processes.
struct BareTable
{
    BareTable()
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        pthread_mutex_init(&mutex, &attributes);
        for (qxm::layout::Row& row : table.rows)
            row = {1, qxm::WorkTableOptions::SystemClockSeconds(), {1, {1, 100}}, {}};
    }

    void Look()
    {
        Require(pthread_mutex_lock(&mutex) == 0, "pthread_mutex_lock");
        const std::int64_t now = qxm::WorkTableOptions::SystemClockSeconds();
        unsigned jobs = 0;
        float processors = 0;
        float memory = 0;
        for (const qxm::layout::Row& row : table.rows)
        {
            if (row.processId != 0 && now - row.lastSeenAlive < 3600)
            {
                jobs += row.activeWork.jobs;
                processors += row.activeWork.resources.processors;
                memory += row.activeWork.resources.memoryInMB;
            }
        }
        pthread_mutex_unlock(&mutex);
        sink = static_cast<float>(jobs) + processors + memory;
    }

    pthread_mutex_t mutex;
    qxm::layout::Table table;
};

/// 40 claimed rows of a table that nobody else uses.
struct FullTable
{
    FullTable()
    {
        for (int i = 0; i < processCount; ++i)
        {
            rows.push_back(std::make_unique<Row>(table, qpr::CurrentProcess::GetId()));
            Publish(*rows.back(), {{1, 1, 100}, {}});
        }
    }

    ~FullTable()
    {
        rows.clear();
        for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
        {
            if (entry.path().string().find(name) != std::string::npos)
                std::filesystem::remove(entry.path());
        }
    }

    void Look()
    {
        qxm::WorkTable::Lock lock(table);
        const qxm::Work sum = rows[0]->SumActiveWork(lock);
        sink = static_cast<float>(sum.jobs) + sum.processors + sum.memoryInMB;
    }

    bool Publish(Row& row, const qxm::WorkRecord& record)
    {
        qxm::WorkTable::Lock lock(table);
        return row.Publish(lock, record);
    }

    qxm::WorkTableOptions Options()
    {
        qxm::WorkTableOptions options;
        options.baseName = std::wstring(name.begin(), name.end());
        options.deadAfterSeconds = 3600; // nobody's heart beats here
        return options;
    }

    const std::string name = "QxBench" + std::to_string(getpid());
    qxm::WorkTable table{qxm::WorkTable::ScopeMode_PreferExistingGlobal, Options()};
    std::vector<std::unique_ptr<Row>> rows;
};

bool CompareLookingAlone(FullTable& table, BareTable& bare)
{
    // Many short turns: most of them nobody else's work on the computer gets into.
    std::vector<double> ours, bares;
    for (int round = 0; round < 1000; ++round)
    {
        ours.push_back(NanosecondsPer(1000, [&] { table.Look(); }));
        bares.push_back(NanosecondsPer(1000, [&] { bare.Look(); }));
    }
    return bench::Compare("lock, sum of 40 rows, unlock", Median(ours), "bare robust mutex", Median(bares), "ns",
        bench::Reach::AtMost, 1.4);
}

/// Looks a second by all processes together.
template <class Action>
double RateOfManyProcesses(Action look)
{
    struct Control
    {
        std::atomic<int> ready = 0;
        std::atomic<bool> go = false;
        std::atomic<bool> stop = false;
        std::array<std::atomic<long>, processCount> looks = {};
    };
    Control* const control = Shared<Control>();
    std::array<pid_t, processCount> children;
    for (int i = 0; i < processCount; ++i)
    {
        children[static_cast<std::size_t>(i)] = fork();
        if (children[static_cast<std::size_t>(i)] == 0)
        {
            ++control->ready;
            while (!control->go)
                usleep(1000);
            long looks = 0;
            for (; !control->stop; ++looks)
                look();
            control->looks[static_cast<std::size_t>(i)] = looks;
            _exit(0);
        }
    }
    while (control->ready < processCount)
        usleep(1000);
    const auto start = Clock::now();
    control->go = true;
    usleep(500'000);
    control->stop = true;
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    for (const pid_t child : children)
        waitpid(child, nullptr, 0);
    long total = 0;
    for (const std::atomic<long>& looks : control->looks)
        total += looks;
    munmap(control, sizeof *control);
    return static_cast<double>(total) / seconds;
}

bool CompareLookingTogether(FullTable& table, BareTable& bare)
{
    std::vector<double> ours, bares;
    for (int round = 0; round < rounds; ++round)
    {
        ours.push_back(RateOfManyProcesses([&] { table.Look(); }) / 1000);
        bares.push_back(RateOfManyProcesses([&] { bare.Look(); }) / 1000);
    }
    return bench::Compare("the same by 40 processes at once", Median(ours), "bare robust mutex", Median(bares), "k/s",
        bench::Reach::AtLeast, 0.75);
}

/// The peer of publishing: 40 sockets of its own kind that nobody reads, and one that sends to them.
struct BareSockets
{
    BareSockets()
    {
        // Room for all that is not received: a sender out of room fails early, and cheaply.
        setsockopt(sender, SOL_SOCKET, SO_SNDBUF, &bufferSize, sizeof bufferSize);
        for (int i = 0; i < processCount; ++i)
        {
            const std::string name = "QxBenchPeer" + std::to_string(getpid()) + "x" + std::to_string(i);
            sockaddr_un address = {};
            address.sun_family = AF_UNIX;
            std::memcpy(address.sun_path + 1, name.data(), name.size());
            addresses.push_back(address);
            length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
            lengths.push_back(length);
            const int receiver = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            Require(bind(receiver, reinterpret_cast<sockaddr*>(&address), length) == 0, "bind");
            receivers.push_back(receiver);
        }
    }

    void SendToAll()
    {
        for (std::size_t i = 0; i < addresses.size(); ++i)
            sendto(sender, "x", 1, MSG_DONTWAIT | MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&addresses[i]), lengths[i]);
    }

    int sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    int bufferSize = 1024 * 1024;
    std::vector<sockaddr_un> addresses;
    std::vector<socklen_t> lengths;
    std::vector<int> receivers;
    socklen_t length = 0;
};

/// Both with queues that fill up and, every few publications, are emptied outside the measured time.
bool ComparePublishing(FullTable& table)
{
    constexpr int publications = 8; // fewer than a queue takes
    BareSockets bare;
    std::vector<double> ours, bares;
    std::uint32_t jobs = 1;
    const auto publish = [&] { table.Publish(*table.rows[0], {{++jobs, 1, 100}, {}}); };
    for (int round = 0; round < 300; ++round)
    {
        for (const auto& row : table.rows)
        {
            row->Trigger().Signal();
            row->Trigger().Wait(0);
        }
        char byte;
        for (const int receiver : bare.receivers)
        {
            while (recv(receiver, &byte, 1, MSG_DONTWAIT) > 0)
            {
            }
        }
        ours.push_back(NanosecondsPer(publications, publish) / 1000);
        bares.push_back(NanosecondsPer(publications, [&] { bare.SendToAll(); }) / 1000);
    }
    const bool freshOk = bench::Compare("publish to 40 rows nobody waits for", Median(ours), "40 bare datagrams",
        Median(bares), "us", bench::Reach::AtMost, 1.1);
    ours.clear();
    bares.clear();
    for (int round = 0; round < 300; ++round)
    {
        ours.push_back(NanosecondsPer(publications, publish) / 1000);
        bares.push_back(NanosecondsPer(publications, [&] { bare.SendToAll(); }) / 1000);
    }
    return bench::Compare("the same, all signalled already", Median(ours), "40 bare datagrams", Median(bares), "us",
               bench::Reach::AtMost, 1.1)
        && freshOk;
}

} // namespace

int main()
{
    FullTable table;
    BareTable& bare = *Shared<BareTable>();
    const bool aloneOk = CompareLookingAlone(table, bare);
    const bool togetherOk = CompareLookingTogether(table, bare);
    const bool publishOk = ComparePublishing(table);
    return aloneOk && togetherOk && publishOk ? 0 : 1;
}
