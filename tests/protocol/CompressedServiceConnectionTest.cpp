#include "protocol/CompressedServiceConnection.h"

#include <gtest/gtest.h>

#include <sstream>

namespace
{

/// A connection whose servant answers with what it was sent.
class EchoConnection : public qxmi::internal::IServiceConnectionExW
{
public:
    std::istream& InputStream() override { return m_channel; }
    std::ostream& OutputStream() override { return m_channel; }
    std::wstring GetServiceName() const override { return L"Solve"; }
    std::wstring GetClientIdentifier() const override { return L"host/7"; }
    std::wstring GetServantIdentification() const override { return L"Solver 1"; }
    bool IsLocal() const override { return true; }
    unsigned GetNumberOfProcessorsToUse() const override { return 3; }
    bool IsCompressed() const override { return false; }
    bool InputPending() override { return m_channel.rdbuf()->in_avail() > 0; }
    void CloseOutput() override { events += "close after " + std::to_string(m_channel.tellp()) + " bytes;"; }
    bool WaitForServantEnd(qxmi::ServantEnd&) override { return false; }
    void Abandon() noexcept override { events += "abandon;"; }
    bool AwaitServantEnd(qxmi::ServantEnd& end) override
    {
        end.exitCode = 99;
        return true;
    }

    std::stringstream& Channel() { return m_channel; }

    std::string events;

private:
    std::stringstream m_channel;
};

class CompressedServiceConnection : public testing::TestWithParam<const wchar_t*>
{
protected:
    EchoConnection m_inner;
    std::unique_ptr<qxmi::internal::IServiceConnectionExW> m_connection =
        qxm::CreateCompressedServiceConnection(m_inner, GetParam());
};

} // namespace

TEST_P(CompressedServiceConnection, ForwardsTheFactsAndIsCompressed)
{
    EXPECT_EQ(m_connection->GetServiceName() + L", " + m_connection->GetClientIdentifier() + L", "
            + m_connection->GetServantIdentification(),
        L"Solve, host/7, Solver 1");
    EXPECT_EQ(m_connection->GetNumberOfProcessorsToUse(), 3u);
    qxmi::ServantEnd end;
    EXPECT_TRUE(m_connection->WaitForServantEnd(end) && end.exitCode == 99);
    EXPECT_TRUE(m_connection->IsLocal() && m_connection->IsCompressed());
    EXPECT_FALSE(qxm::CreateCompressedServiceConnection(m_inner, L"zlib"));
}

TEST_P(CompressedServiceConnection, SendsARequestWithTheFlushOrTheEndOfTheOutput)
{
    m_connection->OutputStream() << "request" << '\n';
    EXPECT_EQ(m_inner.Channel().str(), "");
    EXPECT_FALSE(m_connection->InputPending());
    m_connection->OutputStream().flush();
    EXPECT_TRUE(m_connection->InputPending());
    std::string word;
    std::getline(m_connection->InputStream(), word);
    EXPECT_EQ(word, "request");
    EXPECT_FALSE(m_connection->InputPending());

    m_connection->OutputStream() << "last";
    m_connection->CloseOutput();
    m_connection->InputStream() >> word;
    EXPECT_EQ(word, "last");
    EXPECT_EQ(m_inner.events, "close after " + std::to_string(m_inner.Channel().str().size()) + " bytes;");
}

TEST_P(CompressedServiceConnection, AbandonDropsWhatIsBuffered)
{
    m_connection->OutputStream() << "sent" << std::flush << "unsent";
    const std::string sent = m_inner.Channel().str();
    m_connection->Abandon();
    m_connection->OutputStream().flush();
    EXPECT_EQ(m_inner.Channel().str(), sent);
    EXPECT_EQ(m_inner.events, "abandon;");
}

INSTANTIATE_TEST_SUITE_P(
    EveryProtocol, CompressedServiceConnection, testing::Values(L"BlockedRawDeflate", L"BlockedQLZ14"));
