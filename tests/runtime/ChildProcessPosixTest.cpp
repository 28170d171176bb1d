#include "runtime/processes/ChildProcess.h"

#include "runtime/channels/NamedPipe.h"
#include "runtime/text/Utf8.h"
#include "support/ChildMain.h"
#include "support/ErrorOf.h"
#include "support/PipedChild.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

int DescriptorCount()
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += entry.exists() ? 1 : 0;
    return count - 1; // without the one that is read here
}

/// Writes what of the client's the process was not to get.
int TellInheritance(const std::vector<std::string>&)
{
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    std::printf("SIGUSR1 %s %s\n", sigismember(&mask, SIGUSR1) ? "blocked" : "open",
        std::signal(SIGUSR2, SIG_DFL) == SIG_DFL ? "default" : "changed");
    std::printf("group %s\n", getpgid(0) == getpid() ? "own" : "other");
    std::printf("descriptors %d\n", DescriptorCount());
    return 0;
}

/// Leaves a child behind that holds the standard output for ever, and ends.
int LeaveGrandchild(const std::vector<std::string>&)
{
    if (fork() == 0)
    {
        for (;;)
            pause();
    }
    return 0;
}

const test::ChildRegistration children[] = {{"TellInheritance", TellInheritance}, {"LeaveGrandchild", LeaveGrandchild}};

using test::PipedChild;

/// The error, with a "#" for where it comes from.
std::string StartError(const qpr::ProcessStart& start)
{
    return std::regex_replace(test::ErrorOf([&] { PipedChild child(start); }),
        std::regex(" failed in qpr::ChildProcess::ChildProcess\\.[0-9]+, error number = "), "#");
}

bool Exists(std::uint32_t processId)
{
    return kill(static_cast<pid_t>(processId), 0) == 0;
}

} // namespace

TEST(ChildProcess, GetsNothingElseOfTheClients)
{
    sigset_t usr1, before;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &usr1, &before);
    std::signal(SIGUSR2, SIG_IGN);
    const int inheritable = open("/dev/null", O_RDONLY);
    PipedChild child(test::StartOfChild("TellInheritance"));
    EXPECT_EQ(child.ReadOutput(), "SIGUSR1 open default\ngroup own\ndescriptors 3\n");
    close(inheritable);
    std::signal(SIGUSR2, SIG_DFL);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(ChildProcess, GetsHandlesThatAreStandardNumbersThemselvesInAnyOrder)
{
    const int saved[] = {dup(0), dup(1), dup(2)};
    qpr::PipePair input = qpr::PipePair::ToChild(), output = qpr::PipePair::FromChild(),
                  error = qpr::PipePair::FromChild();
    dup2(static_cast<int>(error.client.Handle().Value()), 0);
    dup2(static_cast<int>(input.server.Handle().Value()), 1);
    dup2(static_cast<int>(output.client.Handle().Value()), 2);
    qpr::ProcessStart start = test::StartOfChild("EchoUntilTheEnd");
    start.standardInput = qpr::NativeHandle(1);
    start.standardOutput = qpr::NativeHandle(2);
    start.standardError = qpr::NativeHandle(0);
    qpr::ChildProcess child(start);
    for (int number = 0; number < 3; ++number)
    {
        dup2(saved[number], number);
        close(saved[number]);
    }
    qpr::IOWriter(input.client.Handle()).Write("x", 1);
    input.client.Close();
    char byte = 0;
    EXPECT_EQ(qpr::PipeReader(output.server.Handle()).Read(&byte, 1), 1U);
    EXPECT_EQ(byte, 'x');
    child.WaitForCompletion();
    EXPECT_EQ(child.CollectExitStatus().exitCode, 0U);
}

TEST(ChildProcess, TellsTheSignalThatEndedIt)
{
    PipedChild child(test::StartOfChild("EchoUntilTheEnd", {std::to_wstring(SIGTERM)}));
    child.CloseInput();
    EXPECT_EQ(child.ExitCode(), 128U + SIGTERM);
    EXPECT_GT(child.process->Figures().pageFaultCount, 0U);
}

TEST(ChildProcess, NamesWhatCannotBeStarted)
{
    qpr::ProcessStart noFile, notExecutable, noPath, noDirectory = test::StartOfChild("TellState"), cut = noDirectory;
    noFile.executablePath = L"/nowhere/at all";
    notExecutable.executablePath = L"/etc/passwd";
    noPath.executablePath = L"true";
    noDirectory.workingDirectory = L"/etc/passwd";
    cut.arguments.push_back(std::wstring(L"a\0b", 3));
    const std::pair<qpr::ProcessStart, std::string> cases[] = {
        {noFile, "CreateProcess('/nowhere/at all')#0x2: No such file or directory"},
        {notExecutable, "CreateProcess('/etc/passwd')#0xd: Permission denied"},
        {noPath, "CreateProcess('true')#0x2: No such file or directory"},
        {noDirectory, "SetCurrentDirectory('/etc/passwd')#0x14: Not a directory"},
        {cut, "CreateProcess('" + qpr::ToUtf8(cut.executablePath) + "')#0x16: Invalid argument"},
    };
    for (const auto& [start, error] : cases)
        EXPECT_EQ(StartError(start), error);
    noPath.arguments = {L"true"};
    noPath.searchPath = true;
    EXPECT_EQ(StartError(noPath), "no error");
}

TEST(ChildProcess, LeavesNothingBehindWhenDescriptorsRunOut)
{
    qpr::ProcessStart start = test::StartOfChild("EchoUntilTheEnd");
    qpr::PipePair input = qpr::PipePair::ToChild(), output = qpr::PipePair::FromChild(),
                  error = qpr::PipePair::FromChild();
    start.standardInput = input.server.Handle();
    start.standardOutput = output.client.Handle();
    start.standardError = error.client.Handle();
    const int before = DescriptorCount();
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const int lowest = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const rlimit exhausted{static_cast<rlim_t>(lowest), limit.rlim_max};
    close(lowest);
    setrlimit(RLIMIT_NOFILE, &exhausted);
    const std::string failure = test::ErrorOf([&] { qpr::ChildProcess child(start); });
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(failure.ends_with("error number = 0x18: Too many open files")) << failure;
    EXPECT_EQ(DescriptorCount(), before);
    output.client.Close();
    char byte;
    EXPECT_EQ(qpr::PipeReader(output.server.Handle()).Read(&byte, 1), 0U) << "the child lives on";
}

TEST(ChildProcess, IsEndedWithItsGroup)
{
    PipedChild child(test::StartOfChild("LeaveGrandchild"));
    child.process->WaitForCompletion();
    child.process->Terminate();
    EXPECT_EQ(child.ReadOutput(), "") << "returns once the grandchild has let go of the pipe";
    EXPECT_EQ(child.ExitCode(), 0U);

    const std::uint32_t abandonedId = PipedChild(test::StartOfChild("EchoUntilTheEnd")).process->ProcessId();
    EXPECT_FALSE(Exists(abandonedId));
}

TEST(ChildProcess, HasNoExitCodeWhereTheApplicationIgnoresItsChildren)
{
    std::signal(SIGCHLD, SIG_IGN);
    {
        PipedChild child(test::StartOfChild("EchoUntilTheEnd"));
        child.CloseInput();
        child.process->WaitForCompletion();
        EXPECT_FALSE(child.process->CollectExitStatus().isKnown);
        PipedChild abandoned(test::StartOfChild("EchoUntilTheEnd"));
    }
    std::signal(SIGCHLD, SIG_DFL);
}

TEST(ChildProcess, RunsAtIdlePriority)
{
    PipedChild child(test::StartOfChild("EchoUntilTheEnd"));
    child.process->SetPriorityLevel(qpr::PriorityLevel::Idle);
    EXPECT_EQ(sched_getscheduler(static_cast<pid_t>(child.process->ProcessId())), SCHED_IDLE);
}
