#include "runtime/processes/ChildProcess.h"

#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Utf8.h"
#include "support/ChildMain.h"
#include "support/PipedChild.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>

using test::PipedChild;

namespace
{

/// Writes what the process was started with, one fact a line.
int TellState(const std::vector<std::string>& arguments)
{
    for (const std::string& argument : arguments)
        std::printf("argument %s\n", argument.c_str());
    std::printf("directory %s\n", std::filesystem::current_path().string().c_str());
    std::printf("new %s\n", qpr::ToUtf8(qpr::EnvironmentVariable(L"QX_TEST_NEW").value_or(L"(none)")).c_str());
    std::printf("path %s\n", qpr::EnvironmentVariable(L"PATH") ? "kept" : "removed");
    std::fputs("to the error stream", stderr);
    return 7;
}

/// Ends by a signal when one is given.
int EchoUntilTheEnd(const std::vector<std::string>& arguments)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
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

const test::ChildRegistration childBodies[] = {
    {"TellState", TellState}, {"EchoUntilTheEnd", EchoUntilTheEnd}, {"UseMemory", UseMemory}};

} // namespace

TEST(ChildProcess, GetsItsArgumentsEnvironmentAndDirectory)
{
    const std::filesystem::path root = std::filesystem::current_path().root_path();
    for (const std::string path : {"kept", "removed"})
    {
        qpr::ProcessStart start =
            test::StartOfChild("TellState", {L"", L"two words", L"\"\x00E4\x20AC\"", L"back\\slash\\"});
        start.workingDirectory = root.wstring();
        start.environment = {{L"QX_TEST_NEW", L"a=b \x20AC"}};
        if (path == "removed")
            start.environment[L"PATH"] = L"";
        PipedChild child(start);
        std::string error;
        std::thread errorReader([&] { error = child.ReadError(); }); // the pipes may hold nothing
        EXPECT_EQ(child.ReadOutput(),
            "argument \nargument two words\nargument \"\xC3\xA4\xE2\x82\xAC\"\nargument back\\slash\\\ndirectory "
                + root.string() + "\nnew a=b \xE2\x82\xAC\npath " + path + "\n");
        errorReader.join();
        EXPECT_EQ(error, "to the error stream");
        EXPECT_EQ(child.ExitCode(), 7U);
    }
}

TEST(ChildProcess, HasAnExitCodeOnceItHasEndedAlsoByForce)
{
    PipedChild child(test::StartOfChild("EchoUntilTheEnd"));
    EXPECT_FALSE(qpr::Thread::TryWaitForObject(child.process->EndObject(), L"test", 0));
    EXPECT_THROW(child.process->CollectExitStatus(), std::logic_error);
    child.process->Terminate();
    const auto status = child.process->CollectExitStatus();
    EXPECT_TRUE(status.isKnown);
    EXPECT_EQ(status.exitCode, 137U);
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
    EXPECT_GT((figures.userTime + figures.kernelTime).count(), 0);
    EXPECT_GT(figures.endTime, figures.startTime);
}
