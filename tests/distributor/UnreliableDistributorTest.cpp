#include "client/RandomCalls.h"
#include "distributor/RealCalls.h"
#include "support/DistributorProgram.h"
#include "support/ErrorOf.h"
#include "support/ProcessControl.h"
#include "worktable/TestTable.h"
#include "worktable/WorkTableView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

/// Hybrid calls beside a distributor that is not to be relied on.
namespace
{

/// A port that nobody listens at, and below those that the system gives to connections by itself: no connection gets it
/// while a distributor is away.
std::uint16_t QuietPort()
{
    for (std::random_device random;;)
    {
        const auto port = static_cast<std::uint16_t>(10'000 + random() % 20'000);
        if (test::ErrorOf([port] { qpr::Socket::Listen(qpr::SocketAddress::Loopback(port)); }) == "no error")
            return port;
    }
}

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

    const std::wstring& Port() const { return m_port; }

    /// Ends it in good order, with all that it has told.
    test::ProgramEnd Stop()
    {
        m_behave.Signal();
        m_thread.WaitForCompletion();
        return EndInOrder();
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
                if (!test::KillResetsConnections())
                    EndInOrder();
                m_program.reset(); // kills it
                Pause();
                Start();
                break;
            case 1:
                EndInOrder();
                Start();
                break;
            case 2:
            case 3:
                test::SetStalled(m_program->ProcessId(), true);
                Pause();
                test::SetStalled(m_program->ProcessId(), false);
                break;
            }
        }
    }
    void HandleError(const std::exception& error) override { ADD_FAILURE() << error.what(); }

    test::ProgramEnd EndInOrder()
    {
        test::InterruptProcess(m_program->ProcessId());
        return m_program->WaitForEnd();
    }
    void Start() { m_program.emplace(m_configurationPath, 2, m_port); }

    /// For a moment, unless it is to behave. Nothing waits for this: it only spreads what happens.
    bool Pause()
    {
        return qpr::Thread::TryWaitForObject(m_behave.Object(), L"test", static_cast<std::uint32_t>(m_random() % 100));
    }

    const std::wstring m_port = std::to_wstring(QuietPort());
    const std::wstring m_configurationPath;
    std::mt19937 m_random;
    std::optional<test::DistributorProgram> m_program;
    qpr::ThreadEvent m_behave{qpr::ThreadEvent::Kind_ManualReset};
    qpr::Thread m_thread;
};

TEST(UnreliableDistributorTest, EveryCallEndsOnceWhateverTheDistributorDoes)
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
