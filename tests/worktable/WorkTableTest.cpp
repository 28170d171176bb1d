#include "worktable/WorkTable.h"

#include "TestTable.h"

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

using namespace qxm;
using test::ErrorOf;
using test::Publish;
using test::Row;
using test::Sum;
using test::TestTable;

namespace
{

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

layout::Row Read(WorkTable& table, std::size_t index)
{
    return WorkTable::Lock(table).Row(index);
}

std::uint32_t OwnerOf(WorkTable& table, std::size_t index)
{
    return Read(table, index).processId;
}

void Write(WorkTable& table, std::size_t index, const layout::Row& row)
{
    WorkTable::Lock(table).Write(index, row);
}

bool TakeSignal(Row& row)
{
    return ErrorOf([&] { row.WaitForTrigger(0); }) == "no error";
}

} // namespace

TEST(WorkTable, LaysOutARowToTheByte)
{
    TestTable test;
    test.now = 0x0102030405060708;
    Row first(test.table, 0x11223344);
    Publish(test.table, first, {{5, 1.5f, 256.0f}, {7, 2.0f, -1.0f}});

    const qpr::SharedMemorySegment segment(test.name.Local(), 1440, test::ForEveryone());
    const unsigned char expected[36] = {0x44, 0x33, 0x22, 0x11, 8, 7, 6, 5, 4, 3, 2, 1, 5, 0, 0, 0, 0, 0, 0xC0, 0x3F, 0,
        0, 0x80, 0x43, 7, 0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0x80, 0xBF};
    std::vector<unsigned char> table(1440);
    segment.Read(table.data(), table.size());
    EXPECT_EQ(0, std::memcmp(expected, table.data(), sizeof expected));
    EXPECT_THAT(std::vector<unsigned char>(table.begin() + 36, table.end()), testing::Each(0));
}

TEST(WorkTable, RefusesThe41stJobManagerUntilARowIsGivenBack)
{
    TestTable test;
    std::vector<std::unique_ptr<Row>> rows;
    for (std::uint32_t i = 0; i < 40; ++i)
        rows.push_back(std::make_unique<Row>(test.table, i + 1));
    EXPECT_EQ("No row available in QxWorkTable for job manager", ErrorOf([&] { Row(test.table, 41); }));

    rows[17].reset();
    const Row last(test.table, 42);
    EXPECT_EQ(42u, OwnerOf(test.table, 17));
}

TEST(WorkTable, CountsARowByItsAge)
{
    constexpr std::int64_t now = 1'000'000;
    const std::pair<std::int64_t, bool> cases[] = {{now, true}, {now - 30, true}, {now - 31, false}, {now + 1000, true},
        {std::numeric_limits<std::int64_t>::max(), true}, {std::numeric_limits<std::int64_t>::min(), false}};
    for (const auto& [lastSeenAlive, isInUse] : cases)
    {
        TestTable test;
        Row own(test.table, 1);
        Write(test.table, 5, {77, lastSeenAlive, {3, {2, 100}}, {}});
        EXPECT_EQ(isInUse ? (Work{3, 2, 100}) : Work(), Sum(test.table, own)) << lastSeenAlive;
        EXPECT_EQ(isInUse ? 77u : 0u, OwnerOf(test.table, 5)) << lastSeenAlive;
    }
}

TEST(WorkTable, CountsWhatNoHonestOwnerWritesAsNothingAndInfinityAsTheMost)
{
    TestTable test;
    Row own(test.table, 1);
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    Write(test.table, 1, {2, test.now, {most, {notANumber, 10}}, {}});
    Write(test.table, 2, {3, test.now, {most, {-1, infinity}}, {}});
    Write(test.table, 3, {4, test.now, {1, {2, -infinity}}, {}});
    Write(test.table, 4, {5, test.now, {1, {2, infinity}}, {}});
    EXPECT_EQ((Work{most, 4, std::numeric_limits<float>::max()}), Sum(test.table, own));
}

TEST(WorkTable, WakesEveryoneForAChangeAndNobodyForNone)
{
    TestTable test;
    Row own(test.table, 1);
    Row other(test.table, 2);
    const WorkRecord record{{1, 1, 512}, {}};

    EXPECT_TRUE(Publish(test.table, own, record));
    EXPECT_TRUE(TakeSignal(own));
    EXPECT_TRUE(TakeSignal(other));

    EXPECT_FALSE(Publish(test.table, own, record));
    EXPECT_FALSE(TakeSignal(own));
    EXPECT_FALSE(TakeSignal(other));

    {
        WorkTable::Lock lock(test.table);
        EXPECT_TRUE(own.Publish(lock, {}, Row::Wake::Others));
    }
    EXPECT_FALSE(TakeSignal(own));
    EXPECT_TRUE(TakeSignal(other));
}

TEST(WorkTable, ReportsAStolenRowAndLeavesItToTheThief)
{
    TestTable test;
    const layout::Row stolen{4711, test.now - 5, {1, {1, 1}}, {}};
    const std::string expected =
        "Work table corruption detected in qxm::JobManagerRow::InUse: process id 4711 does not "
        "match expected process id 1";
    {
        Row own(test.table, 1);
        Write(test.table, 0, stolen);
        EXPECT_EQ(expected, ErrorOf([&] { Sum(test.table, own); }));
        EXPECT_EQ(expected, ErrorOf([&] { Publish(test.table, own, {{2, 2, 2}, {}}); }));
        EXPECT_EQ(expected, ErrorOf([&] { own.Heartbeat(); }));
    }
    const layout::Row row = Read(test.table, 0);
    EXPECT_EQ(0, std::memcmp(&stolen, &row, sizeof row));
}

TEST(WorkTable, LeavesARowToAnOwnerThatWasStoppedForLong)
{
    TestTable test;
    Row stopped(test.table, 1);
    Publish(test.table, stopped, {{4, 1, 1}, {}});
    test.now += 40;
    Row other(test.table, 2); // while the first row counts as free
    EXPECT_EQ(Work(), Sum(test.table, other));
    EXPECT_EQ(2u, OwnerOf(test.table, 1));

    EXPECT_EQ((Work{4, 1, 1}), Sum(test.table, stopped));
    EXPECT_EQ((Work{4, 1, 1}), Sum(test.table, other));
}

TEST(WorkTable, HeartbeatMakesUpForAMissedPublication)
{
    TestTable test;
    Row own(test.table, 1);
    test.now += 10;
    own.PublishAtNextHeartbeat({{1, 2, 3}, {4, 5, 6}});
    own.Heartbeat();
    EXPECT_EQ(test.now, std::int64_t{Read(test.table, 0).lastSeenAlive});
    EXPECT_EQ((Work{1, 2, 3}), Sum(test.table, own));
    EXPECT_TRUE(TakeSignal(own));

    own.PublishAtNextHeartbeat({{1, 2, 3}, {4, 5, 6}}); // no change, but nobody was told
    own.Heartbeat();
    EXPECT_TRUE(TakeSignal(own));
}

TEST(WorkTable, WakesTheLivingWhenADeadRowIsReclaimed)
{
    TestTable test;
    WorkTableOptions options = test.Options();
    options.heartbeatMs = 1;
    WorkTable table(WorkTable::ScopeMode_PreferExistingGlobal, options);
    Row living(table);
    for (const std::int64_t age : {31, 0})
    {
        Write(table, 1, {77, test.now - age, {3, {2, 100}}, {}});
        living.WaitForTrigger();
        EXPECT_EQ(0u, OwnerOf(table, 1));
    }
}

TEST(WorkTable, NamesTheLockThatWasNotToBeHad)
{
    TestTable test;
    WorkTableOptions options = test.Options();
    options.lockTimeoutMs = 1;
    WorkTable impatient(WorkTable::ScopeMode_PreferExistingGlobal, options);
    const WorkTable::Lock held(test.table);
    std::string error;
    std::thread([&] { error = ErrorOf([&] { WorkTable::Lock lock(impatient); }); }).join();
    EXPECT_EQ("Timeout executing qpr::ProcessMutex::Acquire", error);
}
