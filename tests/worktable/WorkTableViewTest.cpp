#include "worktable/WorkTableView.h"

#include "TestTable.h"

#include <gmock/gmock.h>

using namespace qxm;

TEST(WorkTableView, ShowsAnEmptyTableWhereThereIsNoneAndMakesNone)
{
    const test::UniqueName name;
    const WorkTableView view = LookAtWorkTable(test::OptionsOf(name));
    EXPECT_FALSE(view.isGlobal);
    EXPECT_TRUE(view.rows.empty());
    EXPECT_EQ(Work(), view.total);
    EXPECT_TRUE(name.Files().empty());
}

TEST(WorkTableView, ShowsTheRowsInUseAndReclaimsNone)
{
    test::TestTable test;
    test::Row own(test.table, 12);
    const WorkRecord record{{2, 1.5f, 100}, {1, 1, 1}};
    test::Publish(test.table, own, record);
    WorkTable::Lock(test.table).Write(1, {77, test.now - 31, {3, {2, 100}}, {}});
    const WorkTableView view = LookAtWorkTable(test.Options());
    ASSERT_EQ(1u, view.rows.size());
    EXPECT_EQ(0u, view.rows[0].index);
    EXPECT_EQ(12u, view.rows[0].processId);
    EXPECT_EQ(test.now, view.rows[0].lastSeenAlive);
    EXPECT_EQ(record, view.rows[0].work);
    EXPECT_EQ(record.active, view.total);
    const std::uint32_t ownerOfDeadRow = WorkTable::Lock(test.table).Row(1).processId;
    EXPECT_EQ(77u, ownerOfDeadRow);
}
