#include "distributor/Distributor.h"

#include "distributor/RunningDistributor.h"
#include "runtime/text/Errors.h"
#include "support/ErrorOf.h"
#include "support/ProcessControl.h"
#include "support/ScriptedDistributor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <thread>

namespace
{

using test::ReadLineFrom;
using test::ReadToEnd;
using test::RunningDistributor;
using test::WriteTo;

std::string ErrorOf(qxm::DistributorRequest& request)
{
    try
    {
        EXPECT_TRUE(request.WaitUntilReady());
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
    return "no error";
}

/// A call with its servant there.
struct OpenCall
{
    OpenCall(const RunningDistributor& distributor, const std::wstring& service)
        : request(distributor.Request(service))
    {
        EXPECT_EQ(ErrorOf(request), "no error");
        EXPECT_THAT(ReadLineFrom(Main()), testing::StartsWith("servant test executing "));
    }

    qpr::Socket& Main() { return request.MainSocket(); }
    qpr::Socket& Log() { return request.LogSocket(); }
    void EndInput() { Main().Shutdown(qpr::Socket::Direction::Send); }

    qxm::DistributorRequest request;
};

TEST(DistributorTest, JoinsAClientWithItsServantBothWaysAndTheLog)
{
    RunningDistributor distributor;
    OpenCall call(distributor, L"Echo");
    std::string sent(2'000'001, '\0');
    for (std::size_t index = 0; index < sent.size(); ++index)
        sent[index] = static_cast<char>(index * 7 + index / 1000);
    std::thread sender(
        [&]
        {
            WriteTo(call.Main(), sent);
            call.EndInput();
        });
    EXPECT_TRUE(ReadToEnd(call.Main()) == sent);
    sender.join();
    EXPECT_EQ(ReadToEnd(call.Log()),
        "echoed \xc3\xa9\n\xff"
        "exit 0\n");
    call.Main().Close();
    EXPECT_THAT(distributor.Journal().WaitFor(1),
        testing::ElementsAre(testing::MatchesRegex("call Echo of here/7 at 127.0.0.1: done after .+ s\n")));
}

TEST(DistributorTest, TellsTheServantWhatItIsToKnow)
{
    RunningDistributor distributor;
    qxm::DistributorRequest request = distributor.Request({L"Arguments", {{L"Size", L"3"}}, true, true});
    ASSERT_EQ(ErrorOf(request), "no error");
    const std::string processors = std::to_string(test::HostNamed(L"client", L"here").cpuCount);
    EXPECT_EQ(ReadToEnd(request.MainSocket()),
        "servant test executing Arguments\r\nArguments\nClientId=here/7\nNumberOfProcessorsToUse=" + processors
            + "\nCompressionMode=zlib\n");
    const std::string record = ReadToEnd(request.LogSocket());
    EXPECT_THAT(record, testing::StartsWith("[ServiceExecutionInfo]\r\nServiceInfo.ServiceName=Arguments\r\n"));
    EXPECT_THAT(record, testing::HasSubstr("\r\nServiceRequest.Size=3\r\nExecutor.Id=here/7\r\n"));
    EXPECT_THAT(record, testing::HasSubstr("\r\nHost.Name=there\r\n"));
    EXPECT_THAT(record, testing::HasSubstr("\r\nServant.CompressionMode=zlib\r\nServant.ExpectedProcessorUsage=3\r\n"));
    EXPECT_THAT(record,
        testing::EndsWith("[/ServiceExecutionInfo]\r\n\xff"
                          "exit 0\n"));
}

TEST(DistributorTest, AServantThatDoesNotReadOrFailsIsNoErrorOfTheConnection)
{
    RunningDistributor distributor;
    OpenCall call(distributor, L"Fail");
    std::thread sender(
        [&]
        {
            WriteTo(call.Main(), std::string(3'000'000, 'x'));
            call.EndInput();
        });
    EXPECT_EQ(ReadToEnd(call.Main()), "");
    EXPECT_EQ(ReadToEnd(call.Log()),
        "\xff"
        "exit 3\n");
    sender.join();
    EXPECT_THAT(distributor.Journal().WaitFor(1),
        testing::ElementsAre(testing::HasSubstr(": servant ended with exit code 3 after ")));
}

TEST(DistributorTest, AServantThatEndsItsOutputStillGetsItsInput)
{
    RunningDistributor distributor;
    OpenCall call(distributor, L"Sink");
    // At the same time: Wine shows the end of the output only when the servant has ended.
    std::thread reader([&] { EXPECT_EQ(ReadToEnd(call.Main()), ""); });
    WriteTo(call.Main(), std::string(3'000'000, 'x'));
    call.EndInput();
    reader.join();
    EXPECT_EQ(ReadToEnd(call.Log()),
        "3000000 bytes\n\xff"
        "exit 0\n");
}

TEST(DistributorTest, AServantThatASignalEndedDoesNotEndItsCallInGoodOrder)
{
    if (!test::KillResetsConnections())
        GTEST_SKIP() << "no signals here";
    RunningDistributor distributor;
    OpenCall call(distributor, L"Crash");
    EXPECT_THAT(ReadToEnd(call.Log()),
        testing::MatchesRegex("half a line\nServant '.*' was ended by signal 6 \\(Aborted\\)\n\xffsignal 6\n"));
    EXPECT_EQ(test::ErrorOf([&] { ReadToEnd(call.Main()); }),
        "WSARecv() failed, Winsock error number = 10054: Connection reset by peer.");
}

TEST(DistributorTest, SaysWhyItDoesNotServeARequest)
{
    RunningDistributor distributor;
    const struct
    {
        const wchar_t* clientHost;
        qxm::DistributorServiceRequest request;
        std::string reason;
    } cases[] = {
        {L"here", {L"Unknown", {}, true, false}, "Service 'Unknown' not available on distributor"},
        {L"here", {L"Arguments", {{L"ProcessorCount", L"1"}}, true, false},
            "Illegal attribute ProcessorCount in service request attributes"},
        {L"There", {L"Fail", {}, false, false},
            "The call must not run on the client's own computer 'There', which is the distributor's too"},
    };
    for (const auto& test : cases)
    {
        qxm::DistributorRequest request = distributor.Request(test.request, test.clientHost);
        EXPECT_EQ(ErrorOf(request),
            "Error sending service request to distributor at 127.0.0.1: Service request rejected by distributor ("
                + test.reason + ")");
    }
    qxm::DistributorRequest missing = distributor.Request(L"Missing");
    EXPECT_THAT(ErrorOf(missing),
        testing::MatchesRegex("Expected 'establish log connection to port <log port>' but got "
                              "'CreateProcess\\('.*missing'\\) failed in qpr::ChildProcess::ChildProcess.*'"));
    missing.MainSocket().Close();
    EXPECT_THAT(distributor.Journal().WaitFor(4),
        testing::UnorderedElementsAre("client 127.0.0.1: " + cases[0].reason + "\n",
            "client 127.0.0.1: " + cases[1].reason + "\n", "client 127.0.0.1: " + cases[2].reason + "\n",
            testing::StartsWith("call Missing of here/7 at 127.0.0.1: CreateProcess('")));
}

/// What a client that says these lines after the greeting is answered.
std::string AnswerTo(const RunningDistributor& distributor, const std::string& lines)
{
    qpr::Socket socket = qpr::Socket::Create(qpr::SocketAddress::Family::IPv4);
    socket.Connect(distributor.Address());
    ReadLineFrom(socket);
    WriteTo(socket, lines);
    socket.Shutdown(qpr::Socket::Direction::Send);
    return ReadToEnd(socket);
}

TEST(DistributorTest, AnswersClientsThatSayTheWrongThing)
{
    RunningDistributor distributor;
    const struct
    {
        std::string lines;
        std::string answer;
    } cases[] = {
        {"", "$ ! Invalid client command: Not enough positional arguments (got 0 but must be at least 2)\r\n"},
        {"agent x\r\n", "$ ! Unexpected role 'agent', expected 'client'\r\n"},
        {"client x MemSize=many\r\n", "$ ! Error parsing 'MemSize=many'\r\n"},
        {"client 'x\r\n", "$ ! Invalid client command: Unexpected end of string\r\n"},
        {"client \xff\r\n", "$ ! Invalid lead byte (0xFF) in UTF-8 input stream\r\n"},
        {"client a,b\r\n", "$ ! Invalid client identifier 'a,b'\r\n"},
        {"client " + std::string(129, 'x') + "\r\n",
            "$ ! Invalid client identifier '" + std::string(129, 'x') + "'\r\n"},
        {std::string(65537, 'x'), "$ ! The client said more than 65536 bytes before it had a servant\r\n"},
        {"client x\r\ncall \xff", "$ $ Invalid lead byte (0xFF) in UTF-8 input stream\r\n"},
        {"client x\r\n" + std::string(65530, 'x'),
            "$ $ The client said more than 65536 bytes before it had a servant\r\n"},
        {"client x\r\n\x1b[2J\r\n", "$ $ Unknown command '\\x1B[2J'\r\n"},
        {"client x\r\n\r\n",
            "$ $ Invalid call command: Not enough positional arguments (got 0 but must be at least 2)\r\n"},
        {"client x\r\nkill all\r\n", "$ $ Unknown command 'kill'\r\n"},
        {"client x\r\ncall Echo\r\n", "$ $ Invalid call command: WithLog=true is required\r\n"},
        {"client x\r\ncall Echo WithLog=maybe\r\n", "$ $ Invalid WithLog string 'maybe': value must be a boolean.\r\n"},
        {"client x\r\ncall Echo WithLog=true Priority=1\r\n",
            "$ $ Invalid call command: Invalid named argument 'Priority'\r\n"},
        {"client x\r\ncall Echo WithLog=true ServiceRequestAttributes=\"2 a b\"\r\n",
            "$ $ Invalid service request attributes '2 a b'\r\n"},
        {"client x\r\ncall Echo WithLog=true\r\ndata", "$ $ The client sent more than its request\r\n"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(AnswerTo(distributor, test.lines), test.answer);
}

TEST(DistributorTest, ServesInTheOrderOfArrivalAndForgetsWhoLeft)
{
    RunningDistributor distributor(1);
    std::optional<OpenCall> running(std::in_place, distributor, L"Hold");

    // Accepted one after the other, the first of them leaves again.
    std::vector<qpr::Socket> waiting(3);
    for (qpr::Socket& socket : waiting)
        qxm::SendServiceRequest(
            socket, distributor.Address(), {L"Fail", {}, true, false}, test::ClientLine(L"here"), {});
    waiting[0].Close();
    EXPECT_THAT(distributor.Journal().WaitFor(1),
        testing::ElementsAre("call Fail of here/7 at 127.0.0.1: The client is gone\n"));
    EXPECT_FALSE(qpr::SocketReader(waiting[1]).InputPending());

    running->EndInput();
    EXPECT_THAT(ReadLineFrom(waiting[1]), testing::StartsWith("establish log connection to port "));
    EXPECT_FALSE(qpr::SocketReader(waiting[2]).InputPending());
    waiting[1].Close();
    EXPECT_THAT(ReadLineFrom(waiting[2]), testing::StartsWith("establish log connection to port "));
}

TEST(DistributorTest, AClientThatGoesFreesItsSlotAndEndsItsServant)
{
    RunningDistributor distributor(1);
    for (const wchar_t* service : {L"Hold", L"Flood"})
    {
        OpenCall gone(distributor, service);
        gone.Log().Close();
        gone.Main().WaitForInput();
    }
    OpenCall next(distributor, L"Echo");
    next.EndInput();
    EXPECT_EQ(ReadToEnd(next.Main()), "");
    EXPECT_THAT(distributor.Journal().WaitFor(2),
        testing::ElementsAre(testing::StartsWith("call Hold of here/7 at 127.0.0.1: client gone after "),
            testing::StartsWith("call Flood of here/7 at 127.0.0.1: client gone after ")));
}

TEST(DistributorTest, SlowAndSilentClientsBlockNobody)
{
    RunningDistributor distributor(2, 10); // the first of the silent ones are dropped
    const OpenCall readsNothing(distributor, L"Flood");
    std::vector<qpr::Socket> silent(50);
    for (std::size_t index = 0; index < silent.size(); ++index)
    {
        silent[index] = qpr::Socket::Create(qpr::SocketAddress::Family::IPv4);
        silent[index].Connect(distributor.Address());
        WriteTo(silent[index], std::string("client x\r\ncall Hold WithLog=true").substr(0, index));
    }
    OpenCall call(distributor, L"Echo");
    call.EndInput();
    EXPECT_EQ(ReadToEnd(call.Main()), "");
}

TEST(DistributorTest, WindsDownWithRunningCallsEndingOrderlyAndWaitingOnesTold)
{
    RunningDistributor distributor(1);
    OpenCall running(distributor, L"Echo");
    qpr::Socket waiting;
    qxm::SendServiceRequest(waiting, distributor.Address(), {L"Fail", {}, true, false}, test::ClientLine(L"here"), {});
    qpr::Socket silent = qpr::Socket::Create(qpr::SocketAddress::Family::IPv4);
    silent.Connect(distributor.Address());
    ReadLineFrom(silent);

    distributor.AskToStop();
    EXPECT_EQ(ReadLineFrom(waiting), "The distributor is stopping\r\n");
    EXPECT_EQ(ReadToEnd(silent), "$ ");
    WriteTo(running.Main(), "last words");
    running.EndInput();
    EXPECT_EQ(ReadToEnd(running.Main()), "last words");
    waiting.Close();
    running.Main().Close();
    distributor.Stop();
    EXPECT_THAT(distributor.Journal().WaitFor(2),
        testing::UnorderedElementsAre("call Fail of here/7 at 127.0.0.1: The distributor is stopping\n",
            testing::StartsWith("call Echo of here/7 at 127.0.0.1: done after ")));
}

} // namespace
