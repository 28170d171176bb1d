#include "TestTable.h"

#include "support/ChildMain.h"
#include "support/PipedChild.h"

#include <gmock/gmock.h>

#include <deque>
#include <fstream>
#include <iostream>
#include <limits>
#include <sstream>
#include <vector>

using namespace qxm;
using test::PipedChild;
using test::Publish;
using test::Row;
using test::Sum;

// Several real processes at one table: they tell the test what they have done by a line on their standard output, and
// go on for a line on their standard input.

namespace
{

/// Goes on once all of them are ready.
std::deque<PipedChild> StartChildren(int count, const char* body, const std::wstring& tableName)
{
    std::deque<PipedChild> children;
    for (int i = 0; i < count; ++i)
        children.emplace_back(test::StartOfChild(body, {tableName}));
    for (PipedChild& child : children)
        EXPECT_EQ("ready", child.ReadLine());
    for (PipedChild& child : children)
        child.Write("\n");
    return children;
}

/// What a child's body works with; its heart beats when told to.
struct ChildTable
{
    explicit ChildTable(const std::string& name)
        : table(WorkTable::ScopeMode_PreferExistingGlobal, Options(name))
        , row(table, qpr::CurrentProcess::GetId())
    {
    }

    static WorkTableOptions Options(const std::string& name)
    {
        WorkTableOptions options;
        options.baseName = qpr::FromUtf8(name);
        options.heartbeatMs = qpr::Infinite;
        options.clock = [] { return std::int64_t{1'000'000}; };
        return options;
    }

    WorkTable table;
    Row row;
};

void SayAndWait(const std::string& line)
{
    std::cout << line << std::endl;
    std::string answer;
    std::getline(std::cin, answer);
}

/// Is killed in the middle of a publication: it holds the table and its row is half written.
int DieInTheTable(const std::vector<std::string>& arguments)
{
    ChildTable child(arguments.at(0));
    WorkTable::Lock lock(child.table);
    lock.Write(1, {qpr::CurrentProcess::GetId(), lock.Now(), {3, {std::numeric_limits<float>::quiet_NaN(), 100}}, {}});
    SayAndWait("holding");
    return 1;
}

/// Is killed at any moment of its use of the table.
int UseTheTableForEver(const std::vector<std::string>& arguments)
{
    ChildTable child(arguments.at(0));
    SayAndWait("ready"); // while others use the table for ever, starting takes long
    for (std::uint32_t i = 0;; ++i)
    {
        {
            WorkTable::Lock lock(child.table);
            child.row.SumActiveWork(lock);
            child.row.Publish(lock, {{i % 2, 1, 1}, {}});
        }
        if (i == 30)
            std::cout << "busy" << std::endl;
    }
}

/// Admits as many jobs as fit below 100 on the whole computer, one a lock period.
int AdmitJobs(const std::vector<std::string>& arguments)
{
    ChildTable child(arguments.at(0));
    SayAndWait("ready");
    std::uint32_t own = 0;
    for (bool hasRoom = true; hasRoom;)
    {
        WorkTable::Lock lock(child.table);
        hasRoom = child.row.SumActiveWork(lock).jobs < 100;
        if (hasRoom)
            child.row.Publish(lock, {{++own, 1, 1}, {}});
    }
    SayAndWait(std::to_string(own));
    return 0;
}

/// Waits for a change by another process.
int WaitForAChange(const std::vector<std::string>& arguments)
{
    ChildTable child(arguments.at(0));
    SayAndWait("waiting");
    child.row.WaitForTrigger();
    return static_cast<int>(Sum(child.table, child.row).jobs);
}

int TraceALifetime(const std::vector<std::string>& arguments)
{
    WorkTableOptions options = ChildTable::Options(arguments.at(0));
    std::int64_t now = 1'000'000;
    options.clock = [&] { return now; };
    WorkTable table(WorkTable::ScopeMode_PreferExistingGlobal, options);
    Row row(table, 12);
    ++now;
    row.Heartbeat();
    Publish(table, row, {{1, 0.5f, 1048576}, {2, 1e10f, 3}});
    std::cout << qpr::CurrentProcess::GetId() << std::endl;
    return 0;
}

const test::ChildRegistration tableChildren[] = {{"worktable-die", DieInTheTable},
    {"worktable-use", UseTheTableForEver}, {"worktable-admit", AdmitJobs}, {"worktable-wait", WaitForAChange},
    {"worktable-trace", TraceALifetime}};

} // namespace

TEST(WorkTableProcesses, AProcessKilledInTheTableStopsNobodyAndLeavesItsRoom)
{
    test::TestTable test;
    Row own(test.table, 1);
    PipedChild child(test::StartOfChild("worktable-die", {test.name.Text()}));
    ASSERT_EQ("holding", child.ReadLine());
    child.process->Terminate();
    EXPECT_EQ((Work{3, 0, 100}), Sum(test.table, own));
    own.Heartbeat();
    own.WaitForTrigger(); // there is room now
    EXPECT_EQ(Work(), Sum(test.table, own));
}

TEST(WorkTableProcesses, MoreKilledProcessesThanThereAreRowsLeaveRowsAndNamesToOthers)
{
    test::TestTable test;
    constexpr int count = 10;
    for (int round = 0; round < 5; ++round)
    {
        auto children = StartChildren(count, "worktable-use", test.name.Text());
        for (PipedChild& child : children)
            ASSERT_EQ("busy", child.ReadLine());
        for (PipedChild& child : children)
            child.process->Terminate();
    }
    {
        Row own(test.table, 1);
        own.Heartbeat();
        EXPECT_EQ(Work(), Sum(test.table, own));
    }
    EXPECT_LE(test.name.Files().size(), 2u) << "more than mutex and segment";
}

TEST(WorkTableProcesses, NeverAdmitMoreThanFitsTogether)
{
    test::TestTable test;
    Row own(test.table, 1);
    auto children = StartChildren(6, "worktable-admit", test.name.Text());
    int total = 0;
    for (PipedChild& child : children)
        total += std::stoi(child.ReadLine());
    EXPECT_EQ(100, total);
    EXPECT_EQ(100u, Sum(test.table, own).jobs);
    for (PipedChild& child : children)
    {
        child.Write("\n");
        EXPECT_EQ(0u, child.ExitCode());
    }
}

TEST(WorkTableProcesses, AChangeWakesAnotherProcess)
{
    test::TestTable test;
    Row own(test.table, 1);
    PipedChild child(test::StartOfChild("worktable-wait", {test.name.Text()}));
    ASSERT_EQ("waiting", child.ReadLine());
    child.Write("\n");
    Publish(test.table, own, {{42, 1, 1}, {}});
    EXPECT_EQ(42u, child.ExitCode());
}

TEST(WorkTableProcesses, TraceEveryLock)
{
    const test::UniqueName name;
    const std::filesystem::path path = std::filesystem::temp_directory_path() / name.Text();
    qpr::ProcessStart start = test::StartOfChild("worktable-trace", {name.Text()});
    start.environment = {{L"QXWORKTABLE_TRACELOG", path.wstring()}};
    PipedChild child(start);
    const std::string processId = child.ReadLine();
    EXPECT_EQ(0u, child.ExitCode());

    std::stringstream trace;
    trace << std::ifstream(path).rdbuf();
    std::filesystem::remove(path);
    const std::string header = "Process " + processId + " at 1970-01-12 13:46:4";
    EXPECT_EQ(header + "0\n1 ProcessId 0 -> 12\n1 LastSeenAlive 0 -> 1000000\n" // claimed
            + header + "1\n1 LastSeenAlive 1000000 -> 1000001\n" // alive
            + header + "1\n" // published
            + "1 ActiveWork.Jobs 0 -> 1\n1 ActiveWork.Resources.Processors 0 -> 0.5\n"
              "1 ActiveWork.Resources.MemoryInMB 0 -> 1.04858e+06\n1 PendingWork.Jobs 0 -> 2\n"
              "1 PendingWork.Resources.Processors 0 -> 1e+10\n1 PendingWork.Resources.MemoryInMB 0 -> 3\n"
            + header + "1\n1 ProcessId 12 -> 0\n1 LastSeenAlive 1000001 -> 0\n" // released
            + "1 ActiveWork.Jobs 1 -> 0\n1 ActiveWork.Resources.Processors 0.5 -> 0\n"
              "1 ActiveWork.Resources.MemoryInMB 1.04858e+06 -> 0\n1 PendingWork.Jobs 2 -> 0\n"
              "1 PendingWork.Resources.Processors 1e+10 -> 0\n1 PendingWork.Resources.MemoryInMB 3 -> 0\n",
        trace.str());
}
