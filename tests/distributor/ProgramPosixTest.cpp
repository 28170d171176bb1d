#include "config/LocalHost.h"
#include "distributor/RunningDistributor.h"
#include "runtime/ChildProcess.h"
#include "runtime/NamedPipe.h"
#include "runtime/Utf8.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <optional>

/// The program itself, started beside the test program.
namespace
{

class Program
{
public:
    explicit Program(std::vector<std::wstring> arguments)
    {
        qpr::PipePair input(false, true);
        qpr::PipePair output(true, false);
        qpr::ProcessStart start;
        start.executablePath = QX_DISTRIBUTOR_PATH;
        start.arguments = {L"qx-distributor"};
        start.arguments.insert(start.arguments.end(), arguments.begin(), arguments.end());
        start.standardInput = input.server.Handle();
        start.standardOutput = output.client.Handle();
        start.standardError = output.client.Handle();
        m_process.emplace(start);
        m_output = std::move(output.server);
    }

    std::string ReadLine()
    {
        qpr::PipeReader reader(m_output.Handle());
        std::string line;
        char byte = 0;
        while (!line.ends_with('\n') && reader.Read(&byte, 1) != 0)
            line += byte;
        return line;
    }

    void Signal(int signal) { kill(static_cast<pid_t>(m_process->ProcessId()), signal); }

    std::uint32_t ExitCode()
    {
        m_process->WaitForCompletion();
        return m_process->CollectExitStatus().exitCode;
    }

private:
    std::optional<qpr::ChildProcess> m_process;
    qpr::PipeEnd m_output;
};

/// Starts the program for the test configuration on a port of the system's choice.
class ProgramPosixTest : public testing::Test
{
protected:
    ProgramPosixTest()
    {
        const std::string line = program.ReadLine();
        const std::string start = "qx-distributor listening on 127.0.0.1:";
        EXPECT_THAT(line, testing::StartsWith(start));
        port = qpr::FromUtf8(line.substr(start.size(), line.size() - start.size() - 1));
    }

    test::TestConfiguration configuration;
    Program program{{L"--config", configuration.Path(), L"--listen", L"127.0.0.1:0", L"--slots", L"1", L"--host-name",
        L"elsewhere"}};
    std::wstring port;
};

TEST_F(ProgramPosixTest, ServesUntilItIsTerminated)
{
    qxm::DistributorRequest request(L"localhost", port, {L"Echo", {}, false, false},
        test::HostNamed(L"client", qxm::DescribeLocalHost(L"client").hostName), nullptr);
    ASSERT_TRUE(request.WaitUntilReady());
    request.OpenLogConnection();
    test::WriteTo(request.MainSocket(), "data");
    request.MainSocket().Shutdown(qpr::Socket::Direction::Send);
    EXPECT_EQ(test::ReadToEnd(request.MainSocket()), "servant test executing Echo\r\ndata");
    EXPECT_EQ(test::ReadToEnd(request.LogSocket()), "echoed \xc3\xa9\n");
    request.MainSocket().Close();
    EXPECT_THAT(program.ReadLine(), testing::HasSubstr(": done after "));

    program.Signal(SIGTERM);
    EXPECT_EQ(program.ReadLine(), "");
    EXPECT_EQ(program.ExitCode(), 0u);
}

TEST_F(ProgramPosixTest, AClientOfOneThatIsKilledSeesNoOrderlyEnd)
{
    qxm::DistributorRequest request(
        L"localhost", port, {L"Hold", {}, true, false}, test::HostNamed(L"client", L"here"), nullptr);
    ASSERT_TRUE(request.WaitUntilReady());
    request.OpenLogConnection();
    EXPECT_EQ(test::ReadLineFrom(request.MainSocket()), "servant test executing Hold\r\n");
    program.Signal(SIGKILL);
    try
    {
        test::ReadToEnd(request.MainSocket());
        FAIL();
    }
    catch (const std::exception& error)
    {
        EXPECT_STREQ(error.what(), "WSARecv() failed, Winsock error number = 10054: Connection reset by peer.");
    }
}

TEST(ProgramTest, SaysWhatIsWrongWithItsCommandLine)
{
    const struct
    {
        std::vector<std::wstring> arguments;
        std::string line;
        std::uint32_t exitCode;
    } cases[] = {
        {{}, "qx-distributor: --config is required\n", 2},
        {{L"--config", L"x", L"--listen", L"7"}, "qx-distributor: --listen: an address is ADDRESS:PORT\n", 2},
        {{L"--config", L"x", L"--slots", L"0"}, "qx-distributor: --slots: Value 0 not in range 1 to 65536\n", 2},
        {{L"--config", L"x", L"--host-name", L"a b"},
            "qx-distributor: --host-name: a host name has no white space and no quotes\n", 2},
        {{L"--config", L"/no/such.xml"}, "qx-distributor: ", 1},
    };
    for (const auto& test : cases)
    {
        Program program(test.arguments);
        EXPECT_THAT(program.ReadLine(), testing::StartsWith(test.line));
        EXPECT_EQ(program.ExitCode(), test.exitCode);
    }
}

} // namespace
