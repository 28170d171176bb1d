#include "protocol/DistributorRequest.h"

#include "runtime/text/Utf8.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/ThreadEvent.h"
#include "support/ErrorOf.h"
#include "support/ScriptedDistributor.h"
#include "support/SocketText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <thread>
#include <vector>

namespace
{

using qxm::DistributorRequest;
using test::ReadLineFrom;
using test::ScriptedClient;
using test::ScriptedDistributor;

const std::string errorStart = "Error sending service request to distributor at 127.0.0.1: ";

qxm::HostDescription ClientHost()
{
    qxm::HostDescription client;
    client.role = L"client";
    client.identifier = L"here/7";
    client.version = {15, 1, 1, 1};
    client.hostName = L"here";
    client.userName = L"\u00e9l\u00e8ve";
    return client;
}

DistributorRequest MakeRequest(const ScriptedDistributor& distributor, qpr::Wait wait = {},
    std::optional<qpr::WaitObject> giveUpObject = std::nullopt)
{
    return DistributorRequest(
        distributor.Host(), distributor.Port(), {L"Solve", {}, true, false}, ClientHost().Write(), wait, giveUpObject);
}

/// How a whole request, the log connection included, ends.
std::string OutcomeOf(DistributorRequest& request)
{
    try
    {
        if (!request.WaitUntilReady())
            return "given up";
        return "ready";
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
}

std::function<void(ScriptedClient&)> SendsAndStalls(const std::string& answer)
{
    return [answer](ScriptedClient& client)
    {
        client.Send(answer);
        client.Stall();
    };
}

std::string OutcomeWith(std::function<void(ScriptedClient&)> script)
{
    const ScriptedDistributor distributor(std::move(script));
    DistributorRequest request = MakeRequest(distributor);
    return OutcomeOf(request);
}

TEST(DistributorRequestTest, SaysItsPartAndLeavesTheServantsBytesUnread)
{
    std::vector<std::string> lines;
    std::optional<ScriptedDistributor> distributor(std::in_place,
        [&](ScriptedClient& client)
        {
            client.Send(test::DistributorGreeting());
            lines.push_back(client.ReadLine());
            client.Send("$ ");
            lines.push_back(client.ReadLine());
            client.Send("service request accepted \r\n");
            qpr::Socket log = client.OpenLogConnection();
            test::WriteTo(log, "log\n");
            client.Send("answer\n");
            lines.push_back(client.ReadLine());
            client.Stall();
        });
    DistributorRequest request = MakeRequest(*distributor);
    EXPECT_EQ(OutcomeOf(request), "ready");
    EXPECT_EQ(ReadLineFrom(request.LogSocket()), "log\n");
    EXPECT_EQ(ReadLineFrom(request.MainSocket()), "answer\n");
    test::WriteTo(request.MainSocket(), "data\n");
    request.MainSocket().Close();
    EXPECT_EQ(ReadLineFrom(request.LogSocket()), "");
    distributor.reset(); // has written all its lines
    EXPECT_THAT(lines,
        testing::ElementsAre(
            "client here/7 Version=15.1.1.1 HostName=here ProcessId=0 UserName=\"\xc3\xa9l\xc3\xa8ve\" "
            "OSType=UnknownOSType CpuLayout= CpuCount=0 CpuType=UnknownCpuType CpuInfo=\"\" CpuScore=0 "
            "MemSize=0MB LAAAASpace=0MB\r\n",
            "call Solve WithLog=true\r\n", "data\n"));
}

TEST(DistributorRequestTest, TakesAnswersByteByByteAndAllAtOnce)
{
    for (const auto send : {&ScriptedClient::Send, &ScriptedClient::SendBytewise})
    {
        const ScriptedDistributor distributor(
            [send](ScriptedClient& client)
            {
                qpr::Socket listener = qpr::Socket::Listen(qpr::SocketAddress::Loopback(0));
                (client.*send)(test::DistributorGreeting()
                    + "$ service request accepted\nestablish log connection to port "
                    + std::to_string(listener.GetLocalAddress().Port()) + "\nservant 7\n");
                client.Stall();
            });
        DistributorRequest request = MakeRequest(distributor);
        EXPECT_EQ(OutcomeOf(request), "ready");
        EXPECT_EQ(ReadLineFrom(request.MainSocket()), "servant 7\n");
    }
}

TEST(DistributorRequestTest, EveryWrongAnswerIsNamed)
{
    const std::string greeting = test::DistributorGreeting();
    const std::string accepted = greeting + "$ service request accepted\r\n";
    const std::string wrongLogPort = "Expected 'establish log connection to port <log port>' but got '";
    const std::pair<std::string, std::string> cases[] = {
        {"agent elsewhere/1\r\n$ ", errorStart + "Unexpected role 'agent', expected 'distributor'"},
        {"distributor\r\n$ ",
            errorStart + "Invalid distributor command: Not enough positional arguments (got 1 but must be at least 2)"},
        {"distributor x Version=13.0\r\n$ ", errorStart + "Error parsing 'Version=13.0'"},
        {"distributor x Version=13.0.0.0\r\n! too many clients\r\n",
            errorStart + "Client connection rejected by distributor: too many clients"},
        {"distributor x Version=13.0.0.0\r\n$x", errorStart + "Expected prompt but received '$x'"},
        {test::DistributorGreeting("12.9.9.9"), errorStart + "Distributor version too low"},
        {greeting + "! busy\r\n", errorStart + "Client login rejected by distributor: busy"},
        {greeting + "$ Service request accepted\r\n",
            errorStart + "Service request rejected by distributor (Service request accepted)"},
        {greeting + "$ no such service\r\n", errorStart + "Service request rejected by distributor (no such service)"},
        {accepted + "log port 7\r\n", wrongLogPort + "log port 7'"},
        {accepted + "establish log connection to port \r\n", wrongLogPort + "establish log connection to port'"},
        {"distributor \xff\r\n", errorStart + "Invalid lead byte (0xFF) in UTF-8 input stream"},
        {std::string(70'000, 'x'), errorStart + "Line of more than 65536 characters received"},
    };
    for (const auto& [answer, error] : cases)
        EXPECT_EQ(OutcomeWith(SendsAndStalls(answer)), error);
}

/// A port that takes no more connections and refuses none, as one behind a filter.
class SilentPort
{
public:
    SilentPort()
    {
        for (qpr::Socket& socket : m_sockets)
        {
            socket = qpr::Socket::Create(qpr::SocketAddress::Family::IPv4);
            test::ErrorOf([&] { socket.Connect(m_listener.GetLocalAddress(), qpr::Wait().Until(qpr::Deadline(200))); });
        }
    }

    std::string Line() const
    {
        return "establish log connection to port " + std::to_string(m_listener.GetLocalAddress().Port()) + "\r\n";
    }

private:
    qpr::Socket m_listener = qpr::Socket::Listen(qpr::SocketAddress::Loopback(0), 0);
    std::array<qpr::Socket, 3> m_sockets;
};

TEST(DistributorRequestTest, WhatTheDistributorSaysWhileTheLogConnectionIsMadeIsTold)
{
    const SilentPort port;
    const std::string accepted = test::DistributorGreeting() + "$ service request accepted\r\n" + port.Line();
    EXPECT_EQ(OutcomeWith(SendsAndStalls(accepted + "too late\r\n")),
        "Expected 'establish log connection to port <log port>' but got 'too late'");
}

TEST(DistributorRequestTest, ADistributorThatBreaksOffAnywhereIsNoticed)
{
    const std::string accepted = test::DistributorGreeting() + "$ service request accepted";
    const std::string answers = accepted + "\r\nestablish log connection to port 1";
    for (std::size_t cut = 0; cut < answers.size() - 1; ++cut)
    {
        const std::string error = OutcomeWith(
            [&](ScriptedClient& client)
            {
                client.Send(answers.substr(0, cut));
                client.BreakOff();
            });
        EXPECT_THAT(error,
            testing::StartsWith(cut < accepted.size()
                    ? errorStart
                    : "Expected 'establish log connection to port <log port>' but got '"))
            << cut;
    }
}

TEST(DistributorRequestTest, NobodyThereAndNoSuchHostAreToldApart)
{
    std::wstring port;
    {
        const ScriptedDistributor gone([](ScriptedClient&) {});
        port = gone.Port();
    }
    DistributorRequest refused(L"127.0.0.1", port, {L"Solve", {}, true, false}, ClientHost().Write(), {});
    EXPECT_EQ(
        OutcomeOf(refused), errorStart + "WSAConnect() failed, Winsock error number = 10061: Connection refused.");
    DistributorRequest unresolved(L"::1", L"7", {L"Solve", {}, true, false}, ClientHost().Write(), {});
    EXPECT_EQ(OutcomeOf(unresolved), "No remote address found for host '::1' and service '7'");
}

/// Stalls after each prefix of a whole conversation, and gives the request up there in every way there is.
class StalledRequestTest : public testing::TestWithParam<const char*>
{
};

TEST_P(StalledRequestTest, CanBeGivenUp)
{
    const SilentPort port;
    const bool isAccepted = std::string_view(GetParam()).ends_with("accepted\r\n");
    const ScriptedDistributor distributor(SendsAndStalls(GetParam() + (isAccepted ? port.Line() : "")));
    for (const bool isCancelled : {false, true})
    {
        qpr::Cancellation cancellation;
        qpr::ThreadEvent giveUp(qpr::ThreadEvent::Kind_ManualReset);
        DistributorRequest request = MakeRequest(distributor, cancellation, giveUp.Object());
        const std::jthread other([&] { isCancelled ? cancellation.Cancel() : giveUp.Signal(); });
        EXPECT_THAT(OutcomeOf(request), testing::EndsWith(isCancelled ? "Call cancelled" : "given up"));
        EXPECT_TRUE(isCancelled || !request.MainSocket().IsOpen());
    }
}

INSTANTIATE_TEST_SUITE_P(AtEachStep, StalledRequestTest,
    testing::Values("", "distributor x Vers", "distributor x Version=13.0.0.0\r\n",
        "distributor x Version=13.0.0.0\r\n$ ", "distributor x Version=13.0.0.0\r\n$ $ ",
        "distributor x Version=13.0.0.0\r\n$ $ service request acc",
        "distributor x Version=13.0.0.0\r\n$ $ service request accepted\r\n"));

TEST(DistributorRequestTest, BuildsTheRequestLine)
{
    const std::pair<qxm::DistributorServiceRequest, std::wstring> cases[] = {
        {{L"Solve", {}, true, false}, L"call Solve WithLog=true"},
        {{L"Solve", {{L"Size", L"3"}, {L"Mode", L"fast"}}, false, true},
            L"call Solve WithLog=true ServiceRequestAttributes=\"2 Mode fast Size 3\" LoopbackToLocalMachine=false "
            L"LogServiceExecutionInfo=true"},
        {{L"Solve it", {}, true, true}, L"call \"Solve it\" WithLog=true LogServiceExecutionInfo=true"},
        {{L"Solve", {}, true, false, true}, L"call Solve WithLog=true ServantEnd=true"},
        {{L"it's", {}, true, false}, L"call \"it's\" WithLog=true"},
        {{L"a \"b\"", {}, true, false}, L"call 'a \"b\"' WithLog=true"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(qxm::BuildServiceRequestLine(test.first), test.second);
    for (const std::string name : {"", "a=b", "a\r\nb", "'\""})
    {
        EXPECT_EQ(test::ErrorOf(
                      [&] {
                          qxm::BuildServiceRequestLine({qpr::FromUtf8(name), {}, true, false});
                      }),
            "Invalid service name '" + name + "'");
    }
}

} // namespace
