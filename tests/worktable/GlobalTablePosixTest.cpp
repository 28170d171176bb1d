#include "TestTable.h"

#include "worktable/WorkTableView.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

using qxm::WorkTable;

TEST(GlobalTable, IsRootsAloneToMakeAndEveryonesToUse)
{
    const test::UniqueName name;
    if (geteuid() != 0)
    {
        EXPECT_THAT(test::ErrorOf([&] { WorkTable(WorkTable::ScopeMode_CreateGlobal, name.Options()); }),
            testing::StartsWith("CreateFileMapping() failed in qpr::SharedMemorySegment::FileMapping::FileMapping."));
        return;
    }
    const mode_t narrow = umask(077);
    const WorkTable made(WorkTable::ScopeMode_CreateGlobal, name.Options());
    umask(narrow);
    EXPECT_TRUE(made.IsGlobal());
    EXPECT_TRUE(WorkTable(WorkTable::ScopeMode_PreferExistingGlobal, name.Options()).IsGlobal());
    EXPECT_TRUE(qxm::LookAtWorkTable(name.Options()).isGlobal);
    for (const std::filesystem::path& path : name.Files())
        EXPECT_EQ(0666u, static_cast<unsigned>(std::filesystem::status(path).permissions())) << path;

    // What another user put under the names is nobody's table.
    for (const std::filesystem::path& path : name.Files())
        ASSERT_EQ(0, chown(path.c_str(), 12345, 12345));
    EXPECT_FALSE(WorkTable(WorkTable::ScopeMode_PreferExistingGlobal, name.Options()).IsGlobal());
    EXPECT_THAT(test::ErrorOf([&] { WorkTable(WorkTable::ScopeMode_CreateGlobal, name.Options()); }),
        testing::HasSubstr("error number = 0x1: "));
}

TEST(LocalTable, RefusesAnotherUsersObjects)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give its files away";
    const test::UniqueName name;
    {
        const WorkTable made(WorkTable::ScopeMode_PreferExistingGlobal, name.Options());
    }
    for (const std::filesystem::path& path : name.Files())
    {
        EXPECT_EQ(0600u, static_cast<unsigned>(std::filesystem::status(path).permissions())) << path;
        ASSERT_EQ(0, chown(path.c_str(), 12345, 12345));
    }
    EXPECT_THAT(test::ErrorOf([&] { WorkTable(WorkTable::ScopeMode_PreferExistingGlobal, name.Options()); }),
        testing::StartsWith("CreateMutex() failed in qpr::ProcessMutex::OpenOrCreate."));
}
