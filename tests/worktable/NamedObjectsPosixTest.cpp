#include "TestTable.h"

#include "worktable/WorkTableView.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

// What others, or accidents, have put under the names.

using qpr::ProcessMutex;
using qpr::SharedMemorySegment;
using qxm::WorkTable;
using test::ErrorOf;

TEST(GlobalTable, IsRootsAloneToMakeAndEveryonesToUse)
{
    const test::UniqueName name;
    if (geteuid() != 0)
    {
        EXPECT_THAT(ErrorOf([&] { WorkTable(WorkTable::ScopeMode_CreateGlobal, name.Options()); }),
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
    {
        EXPECT_EQ(0666u, static_cast<unsigned>(std::filesystem::status(path).permissions())) << path;
        ASSERT_EQ(0, chown(path.c_str(), 12345, 12345)); // nobody's table from now on
    }
    EXPECT_FALSE(WorkTable(WorkTable::ScopeMode_PreferExistingGlobal, name.Options()).IsGlobal());
    EXPECT_THAT(ErrorOf([&] { WorkTable(WorkTable::ScopeMode_CreateGlobal, name.Options()); }),
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
    EXPECT_THAT(ErrorOf([&] { WorkTable(WorkTable::ScopeMode_PreferExistingGlobal, name.Options()); }),
        testing::StartsWith("CreateMutex() failed in qpr::ProcessMutex::OpenOrCreate."));
}

TEST(ProcessMutex, RefusesADamagedObject)
{
    const auto damages = {+[](std::string& content) { content.clear(); },
        +[](std::string& content) { content.pop_back(); }, +[](std::string& content) { content += 'x'; },
        +[](std::string& content) { content[0] ^= 1; },
        +[](std::string& content) { std::fill(content.begin() + 8, content.end(), '\xFF'); }};
    for (const auto damage : damages)
    {
        const test::UniqueName name;
        ProcessMutex().OpenOrCreate(name.Local(), test::ForEveryone());
        std::stringstream original;
        original << std::ifstream(name.Files().at(0), std::ios::binary).rdbuf();
        std::string content = original.str();
        damage(content);
        std::ofstream(name.Files().at(0), std::ios::binary) << content;

        ProcessMutex mutex;
        const std::string expected = "Existing mutex '" + qpr::ToUtf8(name.Local()) + "' is damaged";
        EXPECT_EQ(expected, ErrorOf([&] { mutex.TryOpen(name.Local()); }));
        EXPECT_EQ(expected, ErrorOf([&] { mutex.OpenOrCreate(name.Local(), test::ForEveryone()); }));
    }
}

TEST(SharedMemorySegment, RefusesAnEmptyFile)
{
    const test::UniqueName name;
    const SharedMemorySegment segment(name.Local(), 100, test::ForEveryone());
    std::filesystem::resize_file(name.Files().at(0), 0);
    EXPECT_EQ("Existing shared memory segment '" + qpr::ToUtf8(name.Local())
            + "' too small (minimum size = 100, actual size = 0)",
        ErrorOf([&] { SharedMemorySegment(name.Local(), 100, test::ForEveryone()); }));
}
