#include "bench/Report.h"
#include "worktable/RowInWorkTable.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// What a look at the work table costs, alone and with 40 processes that look all the time, beside the bare system calls
// that do it and the same clock read and sum; and what telling 40 job managers costs, beside the bare calls for that.

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

/// The peer: the least that keeps a table between processes and tells of an owner that died inside.
class BareTable
{
public:
    explicit BareTable(const std::string& path)
        : m_mutex(open((path + "m").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
        , m_memory(open((path + "t").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
    {
        Require(m_mutex >= 0 && m_memory >= 0, "open");
        for (qxm::layout::Row& row : m_table.rows)
            row = {1, qxm::WorkTableOptions::SystemClockSeconds(), {1, {1, 100}}, {}};
        Require(write(m_memory, &m_table, sizeof m_table) == sizeof m_table, "write");
        Mark(0);
    }
    ~BareTable()
    {
        close(m_mutex);
        close(m_memory);
    }
    BareTable(const BareTable&) = delete;
    BareTable& operator=(const BareTable&) = delete;

    /// False when somebody else has it.
    bool TryLook()
    {
        if (flock(m_mutex, LOCK_EX | LOCK_NB) != 0)
            return false;
        char mark = 0;
        Require(pread(m_mutex, &mark, 1, 0) == 1 && mark == 0, "mark");
        Mark(1);
        Require(pread(m_memory, &m_table, sizeof m_table, 0) == sizeof m_table, "pread");
        const std::int64_t now = qxm::WorkTableOptions::SystemClockSeconds();
        unsigned jobs = 0;
        float processors = 0;
        float memory = 0;
        for (const qxm::layout::Row& row : m_table.rows)
        {
            if (row.processId != 0 && now - row.lastSeenAlive < 3600)
            {
                jobs += row.activeWork.jobs;
                processors += row.activeWork.resources.processors;
                memory += row.activeWork.resources.memoryInMB;
            }
        }
        Mark(0);
        flock(m_mutex, LOCK_UN);
        sink = static_cast<float>(jobs) + processors + memory;
        return true;
    }

private:
    void Mark(char mark) { Require(pwrite(m_mutex, &mark, 1, 0) == 1, "pwrite"); }

    const int m_mutex;
    const int m_memory;
    qxm::layout::Table m_table;
};

std::string FilePrefix()
{
    static const std::string prefix = "QxBench" + std::to_string(getpid());
    return prefix;
}

void RemoveFiles()
{
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
    {
        if (entry.path().string().find(FilePrefix()) != std::string::npos)
            std::filesystem::remove(entry.path());
    }
}

qxm::WorkTableOptions Options()
{
    qxm::WorkTableOptions options;
    options.baseName = std::wstring(FilePrefix().begin(), FilePrefix().end());
    options.deadAfterSeconds = 3600; // nobody's heart beats here
    options.heartbeatMs = qpr::Infinite;
    return options;
}

/// 40 claimed rows of a table that nobody else uses.
struct FullTable
{
    FullTable()
    {
        for (int i = 0; i < processCount; ++i)
        {
            rows.push_back(std::make_unique<Row>(table));
            Publish(*rows.back(), {{1, 1, 100}, {}});
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
        bares.push_back(NanosecondsPer(1000, [&] { bare.TryLook(); }));
    }
    return bench::Compare("lock, sum of 40 rows, unlock", Median(ours), "bare system calls", Median(bares), "ns",
        bench::Reach::AtMost, 1.5);
}

/// Looks a second by all processes together. Each makes its own means to look: a lock of the kernel's is shared with
/// a forked child.
double RateOfManyProcesses(const std::function<std::function<void()>()>& makeLook)
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
            const std::function<void()> look = makeLook();
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

bool CompareLookingTogether()
{
    const auto makeOurs = []() -> std::function<void()>
    {
        const auto table = std::make_shared<qxm::WorkTable>(qxm::WorkTable::ScopeMode_PreferExistingGlobal, Options());
        const auto row = std::make_shared<Row>(*table);
        return [table, row]
        {
            qxm::WorkTable::Lock lock(*table);
            sink = row->SumActiveWork(lock).processors;
        };
    };
    const auto makeBare = []() -> std::function<void()>
    {
        const auto table = std::make_shared<BareTable>("/dev/shm/" + FilePrefix());
        return [table]
        {
            while (!table->TryLook())
                usleep(200);
        };
    };
    std::vector<double> ours, bares;
    for (int round = 0; round < rounds; ++round)
    {
        ours.push_back(RateOfManyProcesses(makeOurs) / 1000);
        bares.push_back(RateOfManyProcesses(makeBare) / 1000);
    }
    return bench::Compare("the same by 40 processes at once", Median(ours), "bare system calls", Median(bares), "k/s",
        bench::Reach::AtLeast, 0.1);
}

/// The peer of publishing: 40 FIFOs, opened, asked whether their owner lives, and written to.
struct BareFifos
{
    BareFifos()
    {
        for (int i = 0; i < processCount; ++i)
        {
            paths.push_back("/dev/shm/" + FilePrefix() + "f" + std::to_string(i));
            Require(mkfifo(paths.back().c_str(), 0600) == 0, "mkfifo");
        }
    }

    void SignalAll()
    {
        for (const std::string& path : paths)
        {
            const int fifo = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW);
            struct stat status;
            struct flock lock = {};
            lock.l_type = F_WRLCK;
            Require(fifo >= 0 && fstat(fifo, &status) == 0 && fcntl(fifo, F_OFD_GETLK, &lock) == 0, "fifo");
            Require(write(fifo, "x", 1) == 1, "write");
            close(fifo);
        }
    }

    std::vector<std::string> paths;
};

bool ComparePublishing(FullTable& table)
{
    BareFifos bare;
    std::vector<double> ours, bares;
    std::uint32_t jobs = 1;
    const auto publish = [&] { table.Publish(*table.rows[0], {{++jobs, 1, 100}, {}}); };
    for (int round = 0; round < 300; ++round)
    {
        ours.push_back(NanosecondsPer(8, publish) / 1000);
        bares.push_back(NanosecondsPer(8, [&] { bare.SignalAll(); }) / 1000);
    }
    return bench::Compare(
        "publish to 40 rows", Median(ours), "40 bare FIFOs", Median(bares), "us", bench::Reach::AtMost, 1.5);
}

} // namespace

int main()
{
    bool ok = true;
    {
        FullTable table;
        BareTable bare("/dev/shm/" + FilePrefix());
        ok &= CompareLookingAlone(table, bare);
        ok &= ComparePublishing(table);
    }
    ok &= CompareLookingTogether();
    RemoveFiles();
    return ok ? 0 : 1;
}
