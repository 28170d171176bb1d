#include "client/ConnectorFixture.h"

#include <iostream>
#include <sstream>

namespace
{

/// Takes the place of the standard error stream until a line has come.
class ErrorStreamLine : private std::stringbuf
{
public:
    ErrorStreamLine()
        : m_before(std::cerr.rdbuf(this))
    {
    }
    ~ErrorStreamLine() override { std::cerr.rdbuf(m_before); }

    std::string Await()
    {
        m_isWhole.Wait();
        return str();
    }

private:
    int sync() override
    {
        if (str().ends_with('\n'))
            m_isWhole.Signal();
        return 0;
    }

    std::streambuf* const m_before;
    qpr::ThreadEvent m_isWhole{qpr::ThreadEvent::Kind_ManualReset};
};

std::string NameOf(const QxClient::LocalServiceConnector*)
{
    return "LocalServiceConnector";
}

std::string NameOf(const QxClient::HybridServiceConnector*)
{
    return "HybridServiceConnector";
}

/// The stream outlives the connector with its starter.
template <class Connector>
class StarterDeathTest : protected ErrorStreamLine, public test::ConnectorFixture
{
};

using Connectors = testing::Types<QxClient::LocalServiceConnector, QxClient::HybridServiceConnector>;
TYPED_TEST_SUITE(StarterDeathTest, Connectors);

} // namespace

TYPED_TEST(StarterDeathTest, IsToldInOneLineAndQueuedCallsCanStillBeCancelled)
{
    test::FakeExecutor* executor = nullptr;
    auto& connector = this->template MakeConnector<TypeParam>(executor);
    this->Call(connector, L"1", L"4", L"1");
    executor->Await("local 1");
    this->Call(connector, L"2", L"4", L"1");
    auto* queued = this->Call(connector, L"3", L"4", L"1");

    const qxm::WorkTableOptions options = this->TableOptions();
    qxm::WorkTable table(qxm::WorkTable::ScopeMode_PreferExistingGlobal, options);
    qxm::WorkTable::Lock(table).Write(0, {4711, 0, {}, {}}); // a thief
    qpr::ProcessEvent trigger;
    ASSERT_TRUE(trigger.TryOpen(L"Local\\" + options.baseName + L"JobManager0Trigger"));
    trigger.Signal();

    EXPECT_EQ(this->Await(),
        "[QxClient::" + NameOf(&connector)
            + "::HandleError] Pending call starter thread terminated prematurely: Work table corruption detected in "
              "qxm::JobManagerRow::InUse: process id 4711 does not match expected process id "
            + std::to_string(qpr::CurrentProcess::GetId()) + "\n");
    queued->Cancel();
    EXPECT_EQ(this->LastRequest().Notifications(), "cancelled;");
}
