#include "client/RandomCalls.h"
#include "distributor/RealCalls.h"
#include "support/DistributorProgram.h"
#include "worktable/TestTable.h"
#include "worktable/WorkTableView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <optional>
#include <sys/socket.h>

/// Hybrid calls beside a distributor that is not to be relied on.
namespace
{

/// Keeps a port for the distributors of a test, so that no connection gets it while none of them listens.
class ReservedPort
{
public:
    ReservedPort()
        : m_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP))
    {
        const int yes = 1;
        setsockopt(m_descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(m_descriptor, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(getsockname(m_descriptor, reinterpret_cast<sockaddr*>(&address), &size), 0);
        m_port = std::to_wstring(ntohs(address.sin_port));
    }
    ~ReservedPort() { close(m_descriptor); }
    ReservedPort(const ReservedPort&) = delete;
    ReservedPort& operator=(const ReservedPort&) = delete;

    const std::wstring& Text() const { return m_port; }

private:
    const int m_descriptor;
    std::wstring m_port;
};

/// A distributor that is killed, stalls, stops and comes back, at random moments, until it is told to behave.
class UnreliableDistributor final : private qpr::IRunnable
{
public:
    UnreliableDistributor(std::wstring configurationPath, unsigned seed)
        : m_configurationPath(std::move(configurationPath))
        , m_random(seed)
        , m_thread(*this)
    {
    }

    const std::wstring& Port() const { return m_port.Text(); }

    /// Ends it in good order, with all that it has told.
    test::ProgramEnd Stop()
    {
        m_behave.Signal();
        m_thread.WaitForCompletion();
        Signal(SIGTERM);
        return m_program->WaitForEnd();
    }

private:
    void Run() override
    {
        Start();
        while (!Pause())
        {
            switch (m_random() % 6)
            {
            case 0:
                Signal(SIGKILL);
                m_program.reset();
                Pause();
                Start();
                break;
            case 1:
                Signal(SIGTERM);
                m_program->WaitForEnd();
                Start();
                break;
            case 2:
            case 3:
                Signal(SIGSTOP);
                Pause();
                Signal(SIGCONT);
                break;
            }
        }
    }
    void HandleError(const std::exception& error) override { ADD_FAILURE() << error.what(); }

    void Start() { m_program.emplace(m_configurationPath, 2, m_port.Text()); }
    void Signal(int signal) { kill(static_cast<pid_t>(m_program->ProcessId()), signal); }

    /// For a moment, unless it is to behave. Nothing waits for this: it only spreads what happens.
    bool Pause()
    {
        return qpr::Thread::WaitForObject(
            m_behave.Object(), L"test", static_cast<std::uint32_t>(m_random() % 100), true);
    }

    const ReservedPort m_port;
    const std::wstring m_configurationPath;
    std::mt19937 m_random;
    std::optional<test::DistributorProgram> m_program;
    qpr::ThreadEvent m_behave{qpr::ThreadEvent::Kind_ManualReset};
    qpr::Thread m_thread;
};

TEST(HybridCallsPosixTest, EveryCallEndsOnceWhateverTheDistributorDoes)
{
    const unsigned seed = test::FromEnvironment("QX_TEST_SEED", 1);
    const test::RandomCalls calls{.seed = seed,
        .threads = 4,
        .callsPerThread = static_cast<int>(test::FromEnvironment("QX_TEST_CALLS", 200) / 4)};
    const test::TestConfiguration configuration;
    const test::UniqueName table;
    UnreliableDistributor distributor(configuration.Path(), seed);
    {
        const test::Connector connector =
            test::MakeHybridConnector(configuration.Path(), distributor.Port(), table.Text());
        const auto complaints = calls.Make(*connector,
            [](std::mt19937& random)
            {
                const wchar_t* const services[] = {
                    L"Work", L"Work", L"Work", L"Work", L"Remote", L"Missing", L"Vanish"};
                return std::make_unique<test::EchoRequest>(
                    services[random() % std::size(services)], random() % 6, "-", random() % 30'000);
            });
        EXPECT_THAT(complaints, testing::IsEmpty());
        qxm::WorkTableOptions options;
        options.baseName = table.Text();
        EXPECT_EQ(LookAtWorkTable(options).total.jobs, 0u);
    }
    EXPECT_EQ(distributor.Stop().exitCode, 0u);
}

} // namespace
