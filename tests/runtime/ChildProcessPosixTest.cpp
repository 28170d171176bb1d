#include "runtime/ChildProcess.h"

#include "runtime/NamedPipe.h"
#include "runtime/Utf8.h"
#include "support/ChildMain.h"
#include "support/ErrorOf.h"
#include "support/PipedChild.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

/// Writes what the process was started with, one fact a line.
int TellState(const std::vector<std::string>& arguments)
{
    for (const std::string& argument : arguments)
        std::printf("argument %s\n", argument.c_str());
    std::printf("directory %s\n", std::filesystem::current_path().c_str());
    for (const char* name : {"QX_TEST_NEW", "QX_TEST_KEPT", "QX_TEST_REMOVED"})
        std::printf("%s %s\n", name, std::getenv(name) ? std::getenv(name) : "(none)");
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    std::printf("SIGUSR1 %s %s\n", sigismember(&mask, SIGUSR1) ? "blocked" : "open",
        std::signal(SIGUSR2, SIG_DFL) == SIG_DFL ? "default" : "changed");
    std::printf("group %s\n", getpgid(0) == getpid() ? "own" : "other");
    DIR* const directory = opendir("/proc/self/fd");
    int count = 0;
    while (readdir(directory))
        ++count;
    closedir(directory);
    std::printf("descriptors %d\n", count - 3); // ".", ".." and the directory itself
    std::fputs("to the error stream", stderr);
    return 7;
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

int EchoUntilTheEnd(const std::vector<std::string>& arguments)
{
    for (int c = std::getchar(); c != EOF; c = std::getchar())
        std::putchar(c);
    if (!arguments.empty())
        std::raise(std::stoi(arguments[0]));
    return 0;
}

int UseMemory(const std::vector<std::string>&)
{
    std::vector<char> memory(64 << 20, 'x');
    std::putchar(memory[12345678]);
    std::fflush(stdout);
    std::getchar();
    return 0;
}

const test::ChildRegistration children[] = {{"TellState", TellState}, {"LeaveGrandchild", LeaveGrandchild},
    {"EchoUntilTheEnd", EchoUntilTheEnd}, {"UseMemory", UseMemory}};

using test::PipedChild;

/// The error without its line number.
std::string StartError(const qpr::ProcessStart& start)
{
    return std::regex_replace(
        test::ErrorOf([&] { PipedChild child(start); }), std::regex("(ChildProcess)\\.[0-9]+"), "$1");
}

int DescriptorCount()
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += entry.exists() ? 1 : 0;
    return count;
}

bool Exists(std::uint32_t processId)
{
    return kill(static_cast<pid_t>(processId), 0) == 0;
}

} // namespace

TEST(ChildProcess, GetsItsArgumentsEnvironmentDirectoryAndNothingElse)
{
    setenv("QX_TEST_KEPT", "kept", 1);
    setenv("QX_TEST_REMOVED", "removed", 1);
    sigset_t usr1, before;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &usr1, &before);
    std::signal(SIGUSR2, SIG_IGN);
    const int inheritable = open("/dev/null", O_RDONLY);

    qpr::ProcessStart start = test::StartOfChild("TellState", {L"", L"two words", L"\"\x00E4\x20AC\""});
    start.workingDirectory = L"/usr";
    start.environment = {{L"QX_TEST_NEW", L"a=b \x20AC"}, {L"QX_TEST_REMOVED", L""}};
    PipedChild child(start);
    EXPECT_EQ(child.ReadOutput(),
        "argument \nargument two words\nargument \"\xC3\xA4\xE2\x82\xAC\"\ndirectory /usr\n"
        "QX_TEST_NEW a=b \xE2\x82\xAC\nQX_TEST_KEPT kept\nQX_TEST_REMOVED (none)\n"
        "SIGUSR1 open default\ngroup own\ndescriptors 3\n");
    EXPECT_EQ(child.ReadError(), "to the error stream");
    child.process->WaitForCompletion();
    const auto status = child.process->CollectExitStatus();
    EXPECT_TRUE(status.isKnown);
    EXPECT_EQ(status.exitCode, 7U);

    close(inheritable);
    std::signal(SIGUSR2, SIG_DFL);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(ChildProcess, GetsHandlesThatAreStandardNumbersThemselvesInAnyOrder)
{
    const int saved[] = {dup(0), dup(1), dup(2)};
    qpr::PipePair input(false, true), output(true, false), error(true, false);
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
    EXPECT_FALSE(child.process->WaitForCompletion(0, true));
    EXPECT_THROW(child.process->CollectExitStatus(), std::logic_error);
    child.CloseInput();
    EXPECT_EQ(child.ExitCode(), 128U + SIGTERM);
}

TEST(ChildProcess, IsFoundOnThePathOnlyWhenAskedFor)
{
    qpr::ProcessStart start;
    start.executablePath = L"true";
    start.arguments = {L"true"};
    EXPECT_EQ(StartError(start),
        "CreateProcess('true') failed in qpr::ChildProcess::ChildProcess, error number = 0x2: No such file or "
        "directory");
    start.searchPath = true;
    EXPECT_EQ(StartError(start), "no error");
}

TEST(ChildProcess, NamesWhatCannotBeStarted)
{
    qpr::ProcessStart noFile, notExecutable, noDirectory, cutArgument = test::StartOfChild("TellState");
    noFile.executablePath = L"/nowhere/at all";
    notExecutable.executablePath = L"/etc/passwd";
    noDirectory = test::StartOfChild("TellState");
    noDirectory.workingDirectory = L"/etc/passwd";
    cutArgument.arguments.push_back(std::wstring(L"a\0b", 3));
    EXPECT_EQ(StartError(noFile),
        "CreateProcess('/nowhere/at all') failed in qpr::ChildProcess::ChildProcess, error number = 0x2: No such file "
        "or directory");
    EXPECT_EQ(StartError(notExecutable),
        "CreateProcess('/etc/passwd') failed in qpr::ChildProcess::ChildProcess, error number = 0xd: Permission "
        "denied");
    EXPECT_EQ(StartError(noDirectory),
        "SetCurrentDirectory('/etc/passwd') failed in qpr::ChildProcess::ChildProcess, error number = 0x14: Not a "
        "directory");
    EXPECT_EQ(StartError(cutArgument),
        "CreateProcess('" + qpr::ToUtf8(cutArgument.executablePath)
            + "') failed in qpr::ChildProcess::ChildProcess, error number = 0x16: Invalid argument");
}

TEST(ChildProcess, LeavesNothingBehindWhenDescriptorsRunOut)
{
    qpr::ProcessStart start = test::StartOfChild("EchoUntilTheEnd");
    qpr::PipePair input(false, true), output(true, false), error(true, false);
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

    PipedChild alone(test::StartOfChild("EchoUntilTheEnd"));
    alone.process->Terminate();
    EXPECT_EQ(alone.ExitCode(), 128U + SIGKILL);
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

TEST(ChildProcess, CountsItsOwnMemoryAndTimeNotTheClients)
{
    std::vector<char> ofTheClient(200 << 20, 'c');
    PipedChild child(test::StartOfChild("UseMemory"));
    EXPECT_EQ(child.ReadByte(), ofTheClient[1] == 'c' ? 'x' : 'y');
    child.process->NotePeakMemory();
    child.CloseInput();
    EXPECT_EQ(child.ExitCode(), 0U);
    const qpr::ProcessFigures& figures = child.process->Figures();
    EXPECT_GE(figures.peakWorkingSetSizeMB, 64);
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
    EXPECT_LT(figures.peakWorkingSetSizeMB, 150);
#endif
    EXPECT_GT(figures.pageFaultCount, 1000U);
    EXPECT_GT((figures.userTime + figures.kernelTime).count(), 0);
    EXPECT_GT(figures.endTime, figures.startTime);
}
