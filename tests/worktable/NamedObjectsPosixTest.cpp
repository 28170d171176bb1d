#include "TestTable.h"

#include "support/ChildMain.h"
#include "support/PipedChild.h"
#include "worktable/WorkTableView.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <memory>
#include <random>
#include <sched.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// What other users, other processes and accidents do to the files under the names.

using qpr::ProcessMutex;
using qpr::SharedMemorySegment;
using qxm::WorkTable;
using test::ErrorOf;
using test::PipedChild;
using test::Publish;
using test::Row;
using test::Sum;
using testing::EndsWith;
using testing::StartsWith;

namespace
{

constexpr uid_t otherUser = 12345;

std::unique_ptr<WorkTable> MakeGlobal(const test::UniqueName& name)
{
    return std::make_unique<WorkTable>(WorkTable::ScopeMode_CreateGlobal, test::OptionsOf(name));
}

qxm::WorkTableOptions OptionsNamed(const std::string& name)
{
    qxm::WorkTableOptions options;
    options.baseName = qpr::FromUtf8(name);
    return options;
}

/// Takes part in the table as another user until told to go on, and then does its worst to the files.
int BeAnotherUser(const std::vector<std::string>& arguments)
{
    if (setresuid(otherUser, otherUser, otherUser) != 0)
        return 2;
    WorkTable table(WorkTable::ScopeMode_PreferExistingGlobal, OptionsNamed(arguments.at(0)));
    Row row(table);
    Publish(table, row, {{1, 2, 3}, {}});
    std::cout << (table.IsGlobal() ? "global" : "local") << std::endl;
    std::cin.get();

    const std::string segment = "/dev/shm/Global_" + arguments.at(0);
    const int memory = open(segment.c_str(), O_RDWR);
    const int mutex = open((segment + "Mutex").c_str(), O_RDWR);
    const int trigger = open((segment + "JobManager0Trigger").c_str(), O_RDWR | O_NONBLOCK);
    if (memory < 0 || mutex < 0 || trigger < 0 || unlink(segment.c_str()) == 0)
        return 3;
    std::mt19937 random(1);
    std::array<char, 1440> noise;
    for (int round = 0; round < 1000; ++round)
    {
        std::generate(noise.begin(), noise.end(), [&random] { return static_cast<char>(random()); });
        const bool isDone = ftruncate(memory, random() % 1500) == 0 && pwrite(memory, &noise, random() % 1440, 0) >= 0
            && pwrite(mutex, &noise, random() % 9, 0) >= 0 && ftruncate(mutex, random() % 3) == 0
            && (write(trigger, &noise, random() % 1440) != 0 || read(trigger, &noise, random() % 1440) != 0);
        if (!isDone)
            return 4;
    }
    flock(mutex, LOCK_EX);
    std::cout << "locked" << std::endl;
    std::cin.get();
    close(mutex);
    return 0;
}

/// Says what a connector is told where /dev/shm is full.
int FillTheFileSystem(const std::vector<std::string>& arguments)
{
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
        || mount("none", "/dev/shm", "tmpfs", 0, "size=8k") != 0)
        return 2;
    std::ofstream("/dev/shm/filling") << std::string(100'000, 'x');
    std::cout << ErrorOf([&] { WorkTable(WorkTable::ScopeMode_PreferExistingGlobal, OptionsNamed(arguments.at(0))); })
              << std::endl;
    return 0;
}

const test::ChildRegistration namedObjectChildren[] = {
    {"worktable-other-user", BeAnotherUser}, {"worktable-full", FillTheFileSystem}};

} // namespace

TEST(GlobalTable, IsRootsAloneToMakeAndEveryonesToUse)
{
    const test::UniqueName name;
    if (geteuid() != 0)
    {
        EXPECT_THAT(ErrorOf([&] { MakeGlobal(name); }),
            testing::AllOf(
                StartsWith("CreateFileMapping() failed in qpr::SharedMemorySegment::FileMapping::FileMapping."),
                EndsWith(" ('/dev/shm/Global_" + qpr::ToUtf8(name.Text()) + "' can be made by root alone)")));
        return;
    }
    const mode_t narrow = umask(077);
    EXPECT_TRUE(MakeGlobal(name)->IsGlobal());
    umask(narrow);
    EXPECT_TRUE(WorkTable(WorkTable::ScopeMode_PreferExistingGlobal, test::OptionsOf(name)).IsGlobal());
    EXPECT_TRUE(qxm::LookAtWorkTable(test::OptionsOf(name)).isGlobal);
    EXPECT_EQ(42u, name.Files().size()); // the memory, the mutex, the triggers
    for (const std::filesystem::path& path : name.Files())
    {
        EXPECT_EQ(0666u, static_cast<unsigned>(std::filesystem::status(path).permissions())) << path;
        ASSERT_EQ(0, chown(path.c_str(), otherUser, otherUser)); // nobody's table from now on
    }
    EXPECT_FALSE(WorkTable(WorkTable::ScopeMode_PreferExistingGlobal, test::OptionsOf(name)).IsGlobal());
    EXPECT_THAT(ErrorOf([&] { MakeGlobal(name); }),
        EndsWith(" ('/dev/shm/Global_" + qpr::ToUtf8(name.Text()) + "' of user 12345 has to be removed)"));
}

TEST(GlobalTable, StandsWhatItsOtherUsersDoToIt)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be two users";
    const test::UniqueName name;
    qxm::WorkTableOptions options = test::OptionsOf(name);
    options.lockTimeoutMs = 100;
    WorkTable table(WorkTable::ScopeMode_CreateGlobal, options);
    auto own = std::make_unique<Row>(table);
    PipedChild child(test::StartOfChild("worktable-other-user", {name.Text()}));
    ASSERT_EQ("global", child.ReadLine());
    EXPECT_EQ((qxm::Work{1, 2, 3}), Sum(table, *own));
    child.Write("\n");
    std::string error;
    for (std::uint32_t i = 0; error != "Timeout executing qpr::ProcessMutex::Acquire"; ++i)
    {
        ErrorOf([&] { qxm::LookAtWorkTable(options); });
        own->TryHeartbeat();
        error = ErrorOf([&] { Publish(table, *own, {{i, 1, 1}, {}}); });
    }
    child.CloseInput();
    EXPECT_EQ(0u, child.ExitCode());
    own.reset();
    Row next(table);
    next.Heartbeat();
    EXPECT_EQ(qxm::Work(), Sum(table, next));
}

TEST(LocalTable, RefusesWhatAnotherUserPutThereAndSaysWhatToDo)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give its files away";
    for (const char* suffix : {"", "Mutex", "JobManager"})
    {
        const test::UniqueName name;
        const std::string base = "/dev/shm/Local_0_" + qpr::ToUtf8(name.Text());
        std::vector<std::string> paths{base + suffix};
        if (paths[0].ends_with("JobManager"))
        {
            for (int i = 0; i < 40; ++i)
                paths.push_back(paths[0] + std::to_string(i) + "Trigger");
            paths.erase(paths.begin());
        }
        for (const std::string& path : paths)
        {
            ASSERT_EQ(0, mkfifo(path.c_str(), 0));
            ASSERT_EQ(0, chown(path.c_str(), otherUser, otherUser));
        }
        const std::string error = ErrorOf(
            [&]
            {
                WorkTable table(WorkTable::ScopeMode_PreferExistingGlobal, test::OptionsOf(name));
                const Row row(table);
            });
        EXPECT_THAT(error, testing::HasSubstr(" ('" + paths[0] + "' of user 12345 ")) << suffix;
        EXPECT_THAT(qxm::LocateWorkTable(test::OptionsOf(name)).obstacles,
            testing::Contains(
                L"'" + qpr::FromUtf8(paths[0]) + L"' of user 12345 is in the way: that user or root has to remove it"));
    }
}

TEST(LocalTable, SaysThatTheFileSystemIsFull)
{
    const test::UniqueName name;
    PipedChild child(test::StartOfChild("worktable-full", {name.Text()}));
    const std::string error = child.ReadLine();
    if (child.ExitCode() == 2)
        GTEST_SKIP() << "only root can have a /dev/shm of its own";
    EXPECT_THAT(error,
        EndsWith(" ('/dev/shm/Local_" + std::to_string(geteuid()) + "_" + qpr::ToUtf8(name.Text())
            + "Mutex' needs room under /dev/shm)"));
}

TEST(LocalTable, IsLeftForTheOneThatHasTheNameNow)
{
    test::TestTable test;
    WorkTable otherTable(WorkTable::ScopeMode_PreferExistingGlobal, test.Options());
    Row own(test.table, 1);
    Row other(otherTable, 2);
    const std::string base = "/dev/shm/Local_" + std::to_string(geteuid()) + "_" + qpr::ToUtf8(test.name.Text());
    std::mt19937 random(1);
    for (std::uint32_t round = 1; round <= 50; ++round)
    {
        Publish(test.table, own, {{round, 1, 1}, {}});
        for (const std::filesystem::path& path : test.name.Files())
        {
            if (random() % 3 != 0)
                std::filesystem::remove(path);
        }
        ++test.now;
        (random() % 2 != 0 ? own : other).Heartbeat();
        own.Heartbeat();
        other.Heartbeat();
        EXPECT_EQ((qxm::Work{round, 1, 1}), Sum(otherTable, other));
        ErrorOf([&] { other.WaitForTrigger(0); });
        Publish(test.table, own, {{round, 2, 2}, {}});
        other.WaitForTrigger(0);
        EXPECT_EQ((qxm::Work{round, 2, 2}), Sum(otherTable, other));
        EXPECT_EQ(4u, test.name.Files().size()) << "the memory, the mutex, two triggers";
    }
}

TEST(LocalTable, ForgetsItsOwnerThoughAForkedChildLives)
{
    test::TestTable test;
    auto own = std::make_unique<Row>(test.table, 1);
    auto lock = std::make_unique<WorkTable::Lock>(test.table);
    const pid_t child = fork();
    if (child == 0)
    {
        pause();
        _exit(0);
    }
    lock.reset();
    own.reset();
    Row next(test.table, 2);
    EXPECT_EQ(2u, WorkTable::Lock(test.table).Row(0).processId);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST(SharedMemorySegment, RefusesAnEmptyFile)
{
    const test::UniqueName name;
    const SharedMemorySegment segment(name.Local(), 100, test::ForEveryone());
    std::filesystem::resize_file(name.Files().at(0), 0);
    EXPECT_THAT(ErrorOf([&] { SharedMemorySegment(name.Local(), 100, test::ForEveryone()); }),
        testing::AllOf(
            StartsWith("Existing shared memory segment '" + qpr::ToUtf8(name.Local())
                + "' too small (minimum size = 100, actual size = 0) ('" + name.Files().at(0).string() + "' of user "),
            EndsWith(" has to be removed)")));
}
