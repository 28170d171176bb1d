#include "runtime/ChildProcess.h"

#include "runtime/Environment.h"
#include "runtime/NamedPipe.h"
#include "runtime/StandardStreams.h"
#include "runtime/Utf8.h"
#include "support/ChildMain.h"
#include "support/ErrorOf.h"
#include "support/PipedChild.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <regex>
#include <thread>
#include <windows.h>

namespace
{

using test::PipedChild;

int TellState(const std::vector<std::string>& arguments)
{
    for (const std::string& argument : arguments)
        std::printf("argument %s\n", argument.c_str());
    std::printf("directory %s\n", std::filesystem::current_path().filename().string().c_str());
    for (const wchar_t* name : {L"QX_TEST_NEW", L"QX_TEST_KEPT", L"QX_TEST_REMOVED"})
        std::printf("%s\n", qpr::ToUtf8(qpr::EnvironmentVariable(name).value_or(L"(none)")).c_str());
    std::fputs("to the error stream", stderr);
    return 7;
}

/// Whether the event whose handle is the argument can be set here.
int SetEventByHandle(const std::vector<std::string>& arguments)
{
    std::putchar(SetEvent(reinterpret_cast<HANDLE>(std::stoll(arguments[0]))) ? 'y' : 'n');
    return 0;
}

/// Leaves a child behind that waits for the end of its input, and ends at once.
int LeaveGrandchild(const std::vector<std::string>&)
{
    std::string command = "\"" + test::OwnPath() + "\" --child EchoUntilTheEnd";
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION created{};
    return CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &created) ? 0
                                                                                                                    : 1;
}

int EchoUntilTheEnd(const std::vector<std::string>&)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    for (int c = std::getchar(); c != EOF; c = std::getchar())
        std::putchar(c);
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

const test::ChildRegistration children[] = {{"TellState", TellState}, {"SetEventByHandle", SetEventByHandle},
    {"LeaveGrandchild", LeaveGrandchild}, {"EchoUntilTheEnd", EchoUntilTheEnd}, {"UseMemory", UseMemory}};

/// The error without its line number and the system's words.
std::string StartError(const qpr::ProcessStart& start)
{
    return std::regex_replace(
        test::ErrorOf([&] { PipedChild child(start); }), std::regex("(ChildProcess)\\.[0-9]+|: [^:]*$"), "$1");
}

} // namespace

TEST(ChildProcess, GetsItsArgumentsEnvironmentAndDirectory)
{
    SetEnvironmentVariableW(L"QX_TEST_KEPT", L"kept");
    SetEnvironmentVariableW(L"QX_TEST_REMOVED", L"removed");
    qpr::ProcessStart start =
        test::StartOfChild("TellState", {L"", L"two words", L"\"\x00E4\x20AC\"", L"back\\slash\\"});
    start.workingDirectory = L"C:\\windows";
    start.environment = {{L"QX_TEST_NEW", L"a=b \x20AC"}, {L"QX_TEST_REMOVED", L""}};
    PipedChild child(start);
    std::string error;
    std::thread errorReader([&] { error = child.ReadError(); }); // the pipes hold nothing
    EXPECT_EQ(child.ReadOutput(),
        "argument \nargument two words\nargument \"\xC3\xA4\xE2\x82\xAC\"\nargument back\\slash\\\ndirectory windows\n"
        "a=b \xE2\x82\xAC\nkept\n(none)\n");
    errorReader.join();
    EXPECT_EQ(error, "to the error stream");
    child.process->WaitForCompletion();
    const auto status = child.process->CollectExitStatus();
    EXPECT_TRUE(status.isKnown);
    EXPECT_EQ(status.exitCode, 7U);
}

TEST(ChildProcess, GetsItsThreeHandlesOnlyAlsoWhenSeveralStartAtOnce)
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const HANDLE event = CreateEventW(&inheritable, TRUE, FALSE, nullptr);
    PipedChild child(test::StartOfChild("SetEventByHandle", {std::to_wstring(reinterpret_cast<std::intptr_t>(event))}));
    child.ReadOutput();
    EXPECT_EQ(WaitForSingleObject(event, 0), DWORD(WAIT_TIMEOUT)) << "the child has it";
    CloseHandle(event);

    const auto startAndEnd = []
    {
        for (int round = 0; round < 5; ++round)
        {
            PipedChild echo(test::StartOfChild("EchoUntilTheEnd"));
            echo.Write("x");
            echo.CloseInput(); // would not end the child if another one held the pipe's end
            EXPECT_EQ(echo.ReadOutput(), "x");
        }
    };
    std::thread other(startAndEnd);
    startAndEnd();
    other.join();
}

TEST(ChildProcess, NamesWhatCannotBeStarted)
{
    qpr::ProcessStart noFile, unknownName, noDirectory = test::StartOfChild("TellState"), cutArgument = noDirectory;
    noFile.executablePath = L"C:\\nowhere\\at all";
    unknownName.executablePath = L"no-such-program";
    unknownName.searchPath = true;
    noDirectory.workingDirectory = test::StartOfChild("TellState").executablePath;
    cutArgument.arguments.push_back(std::wstring(L"a\0b", 3));
    EXPECT_EQ(StartError(noFile),
        "CreateProcess('C:\\nowhere\\at all') failed in qpr::ChildProcess::ChildProcess, error number = 0x3");
    EXPECT_EQ(StartError(unknownName),
        "CreateProcess('no-such-program') failed in qpr::ChildProcess::ChildProcess, error number = 0x2");
    EXPECT_EQ(StartError(noDirectory),
        "SetCurrentDirectory('" + qpr::ToUtf8(noDirectory.workingDirectory)
            + "') failed in qpr::ChildProcess::ChildProcess, error number = 0x10b");
    EXPECT_EQ(StartError(cutArgument),
        "CreateProcess('" + qpr::ToUtf8(cutArgument.executablePath)
            + "') failed in qpr::ChildProcess::ChildProcess, error number = 0x57");
}

TEST(ChildProcess, IsEndedWithItsGroup)
{
    PipedChild child(test::StartOfChild("LeaveGrandchild"));
    child.process->WaitForCompletion();
    child.Write("x");
    EXPECT_EQ(child.ReadByte(), 'x') << "the grandchild lives";
    child.process->Terminate();
    EXPECT_EQ(child.ReadOutput(), "") << "returns once the grandchild has let go of the pipe";
    EXPECT_EQ(child.process->CollectExitStatus().exitCode, 0U);

    PipedChild alone(test::StartOfChild("EchoUntilTheEnd"));
    EXPECT_FALSE(alone.process->WaitForCompletion(0, true));
    EXPECT_THROW(alone.process->CollectExitStatus(), std::logic_error);
    alone.process->Terminate();
    EXPECT_EQ(alone.process->CollectExitStatus().exitCode, 137U);
}

TEST(ChildProcess, RunsAtIdlePriority)
{
    PipedChild child(test::StartOfChild("EchoUntilTheEnd"));
    child.process->SetPriorityLevel(qpr::PriorityLevel::Idle);
    const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, child.process->ProcessId());
    EXPECT_EQ(GetPriorityClass(process), DWORD(IDLE_PRIORITY_CLASS));
    CloseHandle(process);
}

TEST(ChildProcess, CountsItsMemoryAndTime)
{
    PipedChild child(test::StartOfChild("UseMemory"));
    EXPECT_EQ(child.ReadByte(), 'x');
    child.process->NotePeakMemory();
    child.CloseInput();
    child.process->WaitForCompletion();
    child.process->CollectExitStatus();
    const qpr::ProcessFigures& figures = child.process->Figures();
    EXPECT_GE(figures.peakWorkingSetSizeMB, 64);
    EXPECT_GT((figures.userTime + figures.kernelTime).count(), 0);
    EXPECT_GT(figures.endTime, figures.startTime);
}
