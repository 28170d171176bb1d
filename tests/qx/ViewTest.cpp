#include "support/ProgramRun.h"
#include "tools/qx/BatchCounts.h"
#include "tools/qx/Json.h"
#include "tools/qx/RoomHolders.h"
#include "tools/qx/Table.h"
#include "tools/qx/TopView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace
{

qxm::WorkTableView TwoClients()
{
    qxm::WorkTableView view;
    view.now = 1000;
    view.rows = {{0, 4711, 998, {{1, 0.5f, 100}, {3, 1.5f, 300}}}, {7, 12, 1000, {{2, 1.25f, 50}, {}}}};
    view.total = {3, 1.75f, 150};
    return view;
}

} // namespace

TEST(TopViewTest, ShowsTotalsBarsAndRows)
{
    EXPECT_THAT(qx::DescribeWorkTable(TwoClients(), {2, 600}, qx::TopOrder::Row, 8),
        testing::ElementsAre("Local work table: client processes 2, running calls 3, pending calls 3",
            "Processors [#######-] 1.75 of 2", "Memory MB  [##------] 150 of 600", "",
            "PROCESS  SEEN  RUNNING  PROCESSORS   MB  PENDING  PROCESSORS   MB",
            "   4711   2 s        1         0.5  100        3         1.5  300",
            "     12   0 s        2        1.25   50        0           0    0"));
}

TEST(TopViewTest, SortsAsAsked)
{
    const auto firstRow = [](qx::TopOrder order) {
        return qx::DescribeWorkTable(TwoClients(), {2, 600}, order, 8)[5].substr(0, 7);
    };
    EXPECT_EQ(firstRow(qx::TopOrder::Process), "     12");
    EXPECT_EQ(firstRow(qx::TopOrder::Running), "     12");
    EXPECT_EQ(firstRow(qx::TopOrder::Pending), "   4711");
    EXPECT_EQ(firstRow(qx::TopOrder::Processors), "     12");
    EXPECT_EQ(firstRow(qx::TopOrder::Memory), "   4711");
}

TEST(TopViewTest, IsOneJsonDocument)
{
    EXPECT_EQ(qx::ToJson(TwoClients()).dump(),
        R"({"scope":"Local","rows":[{"index":0,"processId":4711,"lastSeenAlive":998,)"
        R"("active":{"jobs":1,"processors":0.5,"memoryInMB":100.0},)"
        R"("pending":{"jobs":3,"processors":1.5,"memoryInMB":300.0}},)"
        R"({"index":7,"processId":12,"lastSeenAlive":1000,)"
        R"("active":{"jobs":2,"processors":1.25,"memoryInMB":50.0},)"
        R"("pending":{"jobs":0,"processors":0.0,"memoryInMB":0.0}}],)"
        R"("total":{"jobs":3,"processors":1.75,"memoryInMB":150.0}})");
}

TEST(RoomHoldersTest, NamesTheProcessesWhoseCallsRun)
{
    EXPECT_EQ(
        qx::DescribeWaiting(TwoClients(), 4711), "waiting for room on this computer; 2 calls of process 12 running");
    EXPECT_EQ(qx::DescribeWaiting(TwoClients(), 12), std::nullopt); // it has none that waits
    EXPECT_EQ(qx::DescribeWaiting({}, 12), std::nullopt);
}

TEST(JsonTest, WritesFloatsWithTheirOwnDigits)
{
    EXPECT_EQ(qx::ToJson(0.1f).dump(), "0.1");
    EXPECT_EQ(qx::ToJson(16777216.0f).dump(), "16777216.0");
    EXPECT_EQ(qx::ToJson(-std::numeric_limits<float>::infinity()).dump(), "\"-inf\"");
    EXPECT_EQ(qx::ToJson(std::numeric_limits<float>::quiet_NaN()).dump(), "\"nan\"");
}

TEST(TableCommandTest, TellsWhereTheTableIsAndThatNothingIsInItsWay)
{
    const test::ProgramEnd end = test::RunProgram({L"qx", {L"table", L"--json"}, {}, {}});
    const qx::Json table = qx::Json::parse(end.output);
    EXPECT_EQ(table["obstacles"].dump(), "[]");
    EXPECT_THAT(table["location"].get<std::string>(), testing::HasSubstr("QxWorkTable"));
    EXPECT_EQ(table["scope"] == "Global", table["location"].get<std::string>().find("Global") != std::string::npos);
}

TEST(BatchCountsTest, TellsHowFarTheBatchIs)
{
    qx::BatchCounts counts{.total = 100, .started = 60, .endedAfterStart = 50, .done = 48, .failed = 2};
    EXPECT_EQ(qx::DescribeProgress(counts, 10),
        "[############------------] 48 done, 2 failed, 10 running, 40 pending, 5/s, 0:10 left");
    EXPECT_EQ(
        qx::DescribeProgress({.total = 3}, 0.5), "[------------------------] 0 done, 0 failed, 0 running, 3 pending");
    counts.interrupted = 50;
    counts.skipped = 3;
    EXPECT_EQ(qx::DescribeSummary(counts, 10), "48 done, 2 failed, 50 interrupted, 3 skipped, 10 s, 5 calls/s");
}

TEST(TableTest, AlignsByCharactersAndEscapesControlCharacters)
{
    qx::Table table({{"NAME"}, {"N", qx::Table::Alignment_Right}});
    table.AddRow({"gr\xc3\xbcn\x1b[2J", "1"});
    table.AddRow({"a", "100"});
    EXPECT_THAT(
        table.Lines(), testing::ElementsAre("NAME           N", "gr\xc3\xbcn\\x1B[2J    1", "a            100"));
}
