#include "ToolFixture.h"

#include "config/LocalHost.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/ThreadEvent.h"
#include "support/DistributorProgram.h"
#include "support/ScriptedDistributor.h"

#include <gmock/gmock.h>

using test::ProgramEnd;

/// Calls from the shell over a distributor on loopback. No call waits for room here unless a test wants it to.
class HybridCallTest : public test::ToolFixture
{
protected:
    /// The configuration file of a client, or of the distributor, which has no service of its own for the other.
    std::wstring Configuration(const std::string& port, const char* ownService) const
    {
        const auto servant = std::filesystem::relative(test::ProgramPath(L"qx-test-servant"), directory.Path());
        const std::string usage = "<ExpectedProcessorUsage>P</ExpectedProcessorUsage>"
                                  "<ExpectedMemoryUsageInMB>M</ExpectedMemoryUsageInMB></Service>";
        const std::string start =
            "<Servant QxServantLibraryVersion='15.1.1.1' RelativePath='" + servant.string() + "' ";
        return directory.Write((std::string(ownService) + ".xml").c_str(),
            "<QxConfiguration><Distributor Host='127.0.0.1' ClientPort='" + port + "'/><Servants>" + start
                + "TargetPlatform='WinX64'><Services><Service Name='Where'>" + usage + "<Service Name='" + ownService
                + "'>" + usage + "<Service Name='AnswerFirst'>" + usage
                + "<Service Name='Echo' CompressionMode='zlib'/></Services></Servant>" + start
                + "TargetPlatform='WinX86'><Services><Service Name='Narrow'>" + usage
                + "</Services></Servant></Servants></QxConfiguration>");
    }

    ProgramEnd Call(const std::wstring& configurationPath, const std::wstring& connector,
        const std::vector<std::wstring>& arguments, const std::string& input = {}) const
    {
        return test::RunProgram(Start(configurationPath, connector, arguments, input));
    }

    static test::ProgramStart Start(const std::wstring& configurationPath, const std::wstring& connector,
        const std::vector<std::wstring>& arguments, const std::string& input = {})
    {
        std::vector<std::wstring> all = {L"call", L"--config", configurationPath, L"--connector", connector};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return {L"qx", all, input};
    }

    const qxm::HostDescription host = qxm::DescribeLocalHost(L"client");
    const std::wstring limit = L"P=" + std::to_wstring(host.cpuCount);
    const std::wstring beyond = L"P=" + std::to_wstring(host.cpuCount + 1);
};

TEST_F(HybridCallTest, RunsWhereTheRulesSayAndSaysWhy)
{
    const std::wstring connector = L"<HybridServiceConnector PhysicalMemoryUtilizationLimit='500%'"
                                   L" NoWaitCallMemoryUsageLimitInMB='1000000'/>";
    const std::wstring services = Configuration("1", "There");
    const test::DistributorProgram elsewhere(services, 2);
    const test::DistributorProgram onThisComputer(services, 2, L"0", host.hostName);
    enum Distributor
    {
        Elsewhere,
        OnThisComputer,
        NotThere,
    };
    const std::string ports[] = {qpr::ToUtf8(elsewhere.Port()), qpr::ToUtf8(onThisComputer.Port()), "1"};

    const std::string start = "[HybridServiceConnector] ";
    const std::string first = " Attempting to execute call on network first.\r\n";
    const std::string processors = start + "Expected processor usage exceeds local processor usage limit." + first;
    const std::string memory = start + "Expected memory usage exceeds local memory usage limit." + first;
    const std::string space = start + "Expected memory usage exceeds locally available address space." + first;
    const std::string notHere = start + "Service not available locally. Call will be executed on network.\r\n";
    const auto failed = [&](const std::string& why)
    { return start + "Failed to start call on network: " + why + ". Call will be executed locally.\r\n"; };
    const std::string error = "Error sending service request to distributor at 127.0.0.1: ";
    const std::string refused = error + "WSAConnect() failed, Winsock error number = 10061: Connection refused.";
    const auto rejected = [&](const std::string& why)
    { return error + "Service request rejected by distributor (" + why + ")"; };
    const std::string own = rejected("The call must not run on the client's own computer '" + qpr::ToUtf8(host.hostName)
        + "', which is the distributor's too");
    const struct
    {
        const char* what;
        Distributor distributor;
        std::vector<std::wstring> call;
        ProgramEnd end;
    } cases[] = {
        {"fits", Elsewhere, {L"Where", L"P=1", L"M=1"}, {0, "here\n", ""}},
        {"equal to a limit is within it", Elsewhere, {L"Where", limit, L"M=1"}, {0, "here\n", ""}},
        {"too many processors", Elsewhere, {L"Where", beyond, L"M=1"}, {0, "elsewhere\n", processors}},
        {"too much memory", Elsewhere, {L"Where", L"P=1", L"M=1e12"}, {0, "elsewhere\n", memory}},
        {"too much of both", Elsewhere, {L"Where", beyond, L"M=1e12"}, {0, "elsewhere\n", processors}},
        {"too little address space", Elsewhere, {L"Narrow", L"P=1", L"M=3000"}, {0, "elsewhere\n", space}},
        {"too large, no distributor", NotThere, {L"Where", beyond, L"M=1"},
            {0, "here\n", processors + failed(refused)}},
        {"too large, not offered there", Elsewhere, {L"Here", beyond, L"M=1"},
            {0, "here\n", processors + failed(rejected("Service 'Here' not available on distributor"))}},
        {"too large, and the distributor is here", OnThisComputer, {L"Where", beyond, L"M=1"},
            {0, "here\n", processors + failed(own)}},
        {"not offered here", Elsewhere, {L"There", L"P=1", L"M=1"}, {0, "elsewhere\n", notHere}},
        {"not offered here, but by a distributor here", OnThisComputer, {L"There", L"P=1", L"M=1"},
            {0, "elsewhere\n", notHere}},
        {"not offered here, no distributor", NotThere, {L"There"},
            {1, "",
                notHere
                    + "qx: no distributor at 127.0.0.1:1; start qx-distributor there, or name another in the element "
                    + "Distributor of '" + qpr::ToUtf8(directory.PathOf("Here.xml")) + "'\n"}},
        {"offered nowhere", Elsewhere, {L"Nowhere"},
            {1, "",
                notHere + "qx: the distributor at 127.0.0.1:" + ports[0]
                    + " refused the call: Service 'Nowhere' not available on distributor\n"}},
    };
    for (const auto& test : cases)
        EXPECT_EQ(Call(Configuration(ports[test.distributor], "Here"), connector, test.call), test.end) << test.what;
}

TEST_F(HybridCallTest, AWaitingCallComesBackWhenThereIsRoomHere)
{
    std::string requestLine;
    qpr::ThreadEvent waits(qpr::ThreadEvent::Kind_AutoReset);
    const test::ScriptedDistributor distributor(
        [&](test::ScriptedClient& client)
        {
            requestLine = client.AcceptRequest();
            waits.Signal();
            client.Stall();
        });
    const std::wstring own = Configuration(qpr::ToUtf8(distributor.Port()), "Here");
    test::ProgramStart holding = Start(
        own, L"<LocalServiceConnector NoWaitCallMemoryUsageLimitInMB='1000000'/>", {L"AnswerFirst", limit, L"M=1"});
    holding.inputStaysOpen = true;
    test::RunningProgram holder(holding);
    holder.WaitForOutput("first");
    test::RunningProgram waiting(Start(
        own, L"<HybridServiceConnector MaxRunningNoWaitCalls='0' MaxRunningCalls='1'/>", {L"Where", L"P=1", L"M=1"}));
    waits.Wait();
    EXPECT_EQ(
        requestLine, "call Where WithLog=true ServiceRequestAttributes=\"2 M 1 P 1\" LoopbackToLocalMachine=false\r\n");
    holder.CloseInput();
    EXPECT_EQ(waiting.WaitForEnd(),
        (ProgramEnd{0, "here\n", "[HybridServiceConnector] Switching waiting network call to local mode.\r\n"}));
    EXPECT_EQ(holder.WaitForEnd(), (ProgramEnd{0, "first\nlast\n", ""}));
}

TEST_F(HybridCallTest, ANetworkCallIsCompressedAndRecordedAsConfigured)
{
    const test::DistributorProgram distributor(Configuration("1", "There"), 2);
    const std::string data(1'000'000, 'x');
    const ProgramEnd end = Call(Configuration(qpr::ToUtf8(distributor.Port()), "Here"),
        L"<NetworkServiceConnector LogServiceExecutionInfo='true'/>", {L"Echo", L"Key=Value"}, data);
    EXPECT_TRUE(end.output == data);
    EXPECT_THAT(end.errors, testing::StartsWith("[ServiceExecutionInfo]\r\nServiceInfo.ServiceName=Echo\r\n"));
    EXPECT_THAT(end.errors, testing::HasSubstr("\r\nServiceRequest.Key=Value\r\n"));
    EXPECT_THAT(end.errors, testing::HasSubstr("\r\nHost.Name=elsewhere\r\n"));
    EXPECT_THAT(end.errors, testing::HasSubstr("\r\nServant.CompressionMode=zlib\r\n"));
}
