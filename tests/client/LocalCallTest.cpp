#include "client/ConnectorFixture.h"

#include "client/ConversationExecutor.h"
#include "client/OpenHandles.h"
#include "config/Configuration.h"
#include "config/TemporaryDirectory.h"
#include "support/ChildMain.h"

#include <qxmi/IServiceConnectionW.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <iterator>
#include <thread>

/// Calls to real servants: this program, started again as the service says.
namespace
{

using QxClient::LocalServiceConnector;
using test::CountOpenHandles;
using Conversation = std::function<void(qxmi::IServiceConnectionW&)>;

class ConversingRequest final : public test::RecordingRequest
{
public:
    ConversingRequest(std::wstring service, Conversation conversation)
        : RecordingRequest(std::move(service), {})
        , m_conversation(std::move(conversation))
    {
    }

    void Execute(qxmi::IServiceConnectionW& connection) override { m_conversation(connection); }

private:
    const Conversation m_conversation;
};

std::string ReadAll(qxmi::IServiceConnectionW& connection)
{
    return std::string(std::istreambuf_iterator<char>(connection.InputStream()), {});
}

void SendAndReadAll(qxmi::IServiceConnectionW& connection, std::string& answer)
{
    connection.OutputStream() << "some input";
    connection.CloseOutput();
    answer = ReadAll(connection);
}

class LocalCallTest : public test::ConnectorFixture
{
protected:
    LocalCallTest()
    {
        namespace fs = std::filesystem;
        const fs::path own = fs::absolute(test::OwnPath());
        std::string services;
        for (const char* name : {"Echo", "ExitsAtOnce", "NeverAnswers", "Rubbish", "AnswersForAnother", "EndlessLine",
                 "NotUtf8", "ZlibForAProtocol", "ClosesEarly", "Dies", "FloodsItsLog", "IgnoresItsInput"})
            services += std::string("<Service Name='") + name + "'/>";
        const auto servant = [](const std::string& path, const std::string& offered)
        {
            return "<Servant TargetPlatform='WinX64' RelativePath='" + path + "'><Services>" + offered
                + "</Services></Servant>";
        };
        m_directory.Write("not-executable", "text");
        const std::wstring path = m_directory.Write("QxConfiguration.xml",
            "<QxConfiguration><Servants>" + servant(fs::relative(own, m_directory.Path()).generic_string(), services)
                + servant("missing", "<Service Name='Missing'/>")
                + servant("not-executable", "<Service Name='NotExecutable'/>") + "</Servants></QxConfiguration>");
        const qxm::Configuration configuration = ReadConfiguration(path, Host());
        qxm::HostDescription client = Host();
        client.identifier = L"here/1";
        m_connector = new LocalServiceConnector(m_settings,
            std::make_unique<QxClient::LocalComputer>(configuration.services, client, m_localSettings, TableOptions()),
            std::make_unique<QxClient::ConversationExecutor>(client, false, configuration.distributor));
        m_connector->AddRef();
    }
    ~LocalCallTest() override { m_connector->Release(); }

    void Run(ConversingRequest& request)
    {
        auto* call = m_connector->CreateServiceCall(request);
        call->Wait();
        call->Release();
    }

    test::TemporaryDirectory m_directory;
    qxmi::IServiceConnectorW* m_connector = nullptr;
};

TEST_F(LocalCallTest, HandsTheConnectionOver)
{
    std::string answer;
    std::wstring facts;
    ConversingRequest request(L"Echo",
        [&](qxmi::IServiceConnectionW& connection)
        {
            facts = connection.GetServiceName() + L" " + connection.GetClientIdentifier() + L" "
                + connection.GetServantIdentification() + (connection.IsLocal() ? L" local" : L"")
                + (connection.IsCompressed() ? L" compressed" : L"");
            SendAndReadAll(connection, answer);
            EXPECT_TRUE(connection.InputPending()); // the end
            EXPECT_THROW(connection.GetNumberOfProcessorsToUse(), std::runtime_error);
            connection.CloseOutput(); // is closed
            EXPECT_THROW(connection.OutputStream() << "more", std::runtime_error);
        });
    Run(request);
    EXPECT_EQ(facts, L"Echo here/1 me local");
    EXPECT_EQ(answer, "some input");
    EXPECT_EQ(request.Notifications(), "");
    EXPECT_EQ(request.Log(), "working\xEF\xBF\xBD\n");
}

TEST_F(LocalCallTest, WhateverAServantDoesTheCallEndsWithAClearErrorAndNothingIsLeft)
{
    struct Case
    {
        const wchar_t* service;
        std::string notification; ///< its beginning
        std::string logEnd;
    };
    const std::string answer = "error: Error processing servant answer '";
    const std::string aborted = SIGABRT == 6 ? "134" : "3"; // a signal of the system, or of the C library alone
    const Case cases[] = {
        {L"Missing", "error: CreateProcess('", ""},
        {L"NotExecutable", "error: CreateProcess('", ""},
        {L"ExitsAtOnce", answer + "': Missing required argument 0;", " terminated with exit code 7\n"},
        {L"Rubbish", answer + "what? 'no': Unexpected end of string;", ""},
        {L"AnswersForAnother",
            answer + "servant 7 executing Other': Unexpected 'Other' (expected 'AnswersForAnother');",
            " terminated with exit code 9\n"},
        {L"EndlessLine", answer + "': Line of more than 65536 characters received;", ""},
        {L"NotUtf8", answer + "': Invalid lead byte (0x80) in UTF-8 input stream;", ""},
        {L"ZlibForAProtocol", "error: Servant requested unsupported compression protocol 'zlib';", ""},
        {L"ClosesEarly", "error: only half;", " terminated with exit code 4\n"},
        {L"Dies", "error: only ;", " terminated with exit code " + aborted + '\n'},
        {L"FloodsItsLog", "", "a line of the log that nobody asked for\n"},
        {L"Echo", "", "\n"},
    };
    // On two threads, since a pipe may hold nothing, and the servant may write before it reads.
    const auto converse = [](qxmi::IServiceConnectionW& connection)
    {
        std::jthread sender(
            [&connection]
            {
                try
                {
                    connection.OutputStream() << "some input";
                    connection.CloseOutput();
                }
                catch (const std::exception&) // a servant that died does not read
                {
                }
            });
        const std::string text = ReadAll(connection);
        if (text != "some input")
            throw std::runtime_error("only " + text);
    };
    ConversingRequest warmUp(L"Echo", converse);
    Run(warmUp);
    const std::ptrdiff_t handles = CountOpenHandles();
    std::deque<ConversingRequest> requests;
    std::vector<qxmi::IServiceCall*> calls;
    for (const Case& c : cases)
    {
        ConversingRequest& request = requests.emplace_back(c.service, converse);
        calls.push_back(m_connector->CreateServiceCall(request));
        calls.back()->Wait();
        EXPECT_EQ(request.Notifications().substr(0, c.notification.size()), c.notification) << request.Notifications();
        EXPECT_EQ(request.Notifications().empty(), c.notification.empty());
        EXPECT_TRUE(request.Log().ends_with(c.logEnd)) << request.Log();
    }
    // Nor do calls that have ended hold anything until they are released.
    EXPECT_LE(CountOpenHandles(), handles + 2) << "only the last call's thread may still be leaving";
    for (auto* call : calls)
        call->Release();
}

TEST_F(LocalCallTest, TellsHowAServantEndedWhateverItTookOfItsInput)
{
    struct Case
    {
        const wchar_t* service;
        std::uint32_t exitCode;
        std::uint32_t signal;
    };
    const bool hasSignals = SIGABRT == 6;
    for (const Case& c :
        {Case{L"Echo", 3, 0}, Case{L"ClosesEarly", 4, 0}, Case{L"Dies", hasSignals ? 0u : 3u, hasSignals ? 6u : 0u}})
    {
        qxmi::ServantEnd end{99, 99};
        bool isKnown = false;
        ConversingRequest request(c.service,
            [&](qxmi::IServiceConnectionW& connection)
            {
                connection.OutputStream() << "some input"; // in a buffer still
                const std::jthread reader([&] { ReadAll(connection); }); // a pipe may hold nothing
                isKnown = connection.WaitForServantEnd(end);
            });
        Run(request);
        EXPECT_EQ(request.Notifications(), "");
        EXPECT_TRUE(isKnown && end.exitCode == c.exitCode && end.signal == c.signal)
            << end.exitCode << ' ' << end.signal;
    }
}

TEST_F(LocalCallTest, WhatIsThrownIsTheCallsError)
{
    ConversingRequest error(L"Echo", [](qxmi::IServiceConnectionW&) { throw std::runtime_error("changed my mind"); });
    Run(error);
    EXPECT_EQ(error.Notifications(), "error: changed my mind;");
    ConversingRequest number(L"Echo", [](qxmi::IServiceConnectionW&) { throw 5; });
    Run(number);
    EXPECT_EQ(number.Notifications(), "error: The service request threw something that is no std::exception;");
}

TEST_F(LocalCallTest, CancelEndsACallThatWaitsForItsServant)
{
    ConversingRequest silent(L"NeverAnswers", [](qxmi::IServiceConnectionW&) {});
    auto* call = m_connector->CreateServiceCall(silent);
    while (silent.Log().empty())
        std::this_thread::yield();
    call->Cancel();
    call->Wait();
    EXPECT_EQ(silent.Notifications(), "cancelled;");
    call->Release();
}

TEST_F(LocalCallTest, CancelEndsACallThatWaitsForAnother)
{
    qpr::ThreadEvent waiting(qpr::ThreadEvent::Kind_AutoReset);
    ConversingRequest silent(L"NeverAnswers", [](qxmi::IServiceConnectionW&) {});
    qxmi::IServiceCall* other = nullptr;
    ConversingRequest nested(L"Echo",
        [&](qxmi::IServiceConnectionW&)
        {
            other = m_connector->CreateServiceCall(silent);
            waiting.Signal();
            other->Wait();
        });
    auto* call = m_connector->CreateServiceCall(nested);
    waiting.Wait();
    call->Release();
    EXPECT_EQ(nested.Notifications(), "cancelled;");
    other->Release();
}

TEST_F(LocalCallTest, CancelEndsReadsAndWritesOnWhateverThreadAndServantsThatIgnoreIt)
{
    qpr::ThreadEvent talking(qpr::ThreadEvent::Kind_AutoReset);
    std::string otherThread;
    ConversingRequest deaf(L"IgnoresItsInput",
        [&](qxmi::IServiceConnectionW& connection)
        {
            std::jthread writer(
                [&]
                {
                    try
                    {
                        talking.Signal();
                        for (;;)
                            connection.OutputStream() << std::string(100000, 'x') << std::flush;
                    }
                    catch (const std::exception& error)
                    {
                        otherThread = error.what();
                    }
                });
            while (!connection.InputPending())
                std::this_thread::yield();
        });
    auto* call = m_connector->CreateServiceCall(deaf);
    talking.Wait();
    call->Release(); // cancels; the servant is ended after its time of grace
    EXPECT_EQ(deaf.Notifications(), "cancelled;");
    EXPECT_EQ(otherThread, "Call cancelled");
}

} // namespace
