#include "runtime/processes/ChildProcess.h"

#include "runtime/text/Utf8.h"
#include "support/ChildMain.h"
#include "support/ErrorOf.h"
#include "support/PipedChild.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <thread>
#include <windows.h>

namespace
{

using test::PipedChild;

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

const test::ChildRegistration children[] = {
    {"SetEventByHandle", SetEventByHandle}, {"LeaveGrandchild", LeaveGrandchild}};

/// The error without the system's words, with a "#" for where it comes from.
std::string StartError(const qpr::ProcessStart& start)
{
    return std::regex_replace(test::ErrorOf([&] { PipedChild child(start); }),
        std::regex(" failed in qpr::ChildProcess::ChildProcess\\.[0-9]+, error number = (0x[0-9a-f]+): [^:]*$"), "#$1");
}

} // namespace

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
    qpr::ProcessStart noFile, unknownName, noDirectory = test::StartOfChild("TellState"), cut = noDirectory;
    noFile.executablePath = L"C:\\nowhere\\at all";
    unknownName.executablePath = L"no-such-program";
    unknownName.searchPath = true;
    noDirectory.workingDirectory = noDirectory.executablePath;
    cut.arguments.push_back(std::wstring(L"a\0b", 3));
    const std::string own = qpr::ToUtf8(cut.executablePath);
    EXPECT_EQ(StartError(noFile), "CreateProcess('C:\\nowhere\\at all')#0x3");
    EXPECT_EQ(StartError(unknownName), "CreateProcess('no-such-program')#0x2");
    EXPECT_EQ(StartError(noDirectory), "SetCurrentDirectory('" + own + "')#0x10b");
    EXPECT_EQ(StartError(cut), "CreateProcess('" + own + "')#0x57");
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
}

TEST(ChildProcess, RunsAtIdlePriority)
{
    PipedChild child(test::StartOfChild("EchoUntilTheEnd"));
    child.process->SetPriorityLevel(qpr::PriorityLevel::Idle);
    const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, child.process->ProcessId());
    EXPECT_EQ(GetPriorityClass(process), DWORD(IDLE_PRIORITY_CLASS));
    CloseHandle(process);
}
