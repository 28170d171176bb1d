#include "ToolFixture.h"

#include "runtime/Utf8.h"

#include <regex>

using test::ProgramEnd;
using test::ProgramPath;

class CheckTest : public test::ToolFixture
{
};

TEST_F(CheckTest, PrintsTheSettingsOfEachKindOfConnector)
{
    const struct
    {
        std::wstring xml;
        const char* document;
    } cases[] = {
        {L"<NetworkServiceConnector MaxRunningCalls='4' QxConfigurationPath='a&amp;b'/>",
            R"({"connector":"NetworkServiceConnector","settings":{"QxConfigurationPath":"a&b",)"
            R"("LogServiceExecutionInfo":false,"MaxRunningCalls":4}})"},
        {L"<HybridServiceConnector ProcessorUtilizationLimit='80%' LogServiceExecutionInfo='true'/>",
            R"({"connector":"HybridServiceConnector","settings":{"QxConfigurationPath":"",)"
            R"("LogServiceExecutionInfo":true,"MaxRunningCalls":null,"MaxLocalServants":1,)"
            R"("ProcessorUtilizationLimit":0.8,"PhysicalMemoryUtilizationLimit":null,"MaxRunningNoWaitCalls":1,)"
            R"("NoWaitCallMemoryUsageLimitInMB":512.0}})"},
    };
    for (const auto& testCase : cases)
        EXPECT_EQ(RunJson({L"check", L"--settings-only", testCase.xml}), testCase.document);
}

TEST_F(CheckTest, ReportsTheFirstError)
{
    const std::wstring wrongRoot = directory.Write("wrong root.xml", "<Configuration/>");
    const std::wstring missing = directory.PathOf("missing.xml");
    const struct
    {
        std::vector<std::wstring> arguments;
        std::string error;
    } cases[] = {
        {{L"<Connector/>"}, "Invalid service connector name 'Connector'"},
        {{L"<LocalServiceConnector Colour='red'/>"}, "Invalid attribute 'Colour' in <LocalServiceConnector> element"},
        {{L"<LocalServiceConnector MaxLocalServants='0'/>"}, "Invalid MaxLocalServants value (must be 1 or higher)"},
        {{L"--config", wrongRoot},
            "configuration file '" + qpr::ToUtf8(wrongRoot)
                + "': Invalid configuration file: document element is <Configuration> instead of <QxConfiguration>"},
    };
    for (const auto& testCase : cases)
    {
        std::vector<std::wstring> arguments = {L"check"};
        arguments.insert(arguments.end(), testCase.arguments.begin(), testCase.arguments.end());
        EXPECT_EQ(RunBare(arguments), (ProgramEnd{1, "", "qx: " + testCase.error + "\n"}));
    }
    const ProgramEnd end = RunBare({L"check", L"@" + missing});
    EXPECT_EQ(end.exitCode, 1u);
    EXPECT_NE(end.errors.find(qpr::ToUtf8(missing)), std::string::npos) << end.errors;
}

TEST_F(CheckTest, TakesTheConfigurationFromTheOptionThenTheConnectorThenTheEnvironment)
{
    const auto pathFor = [](std::vector<std::wstring> arguments)
    {
        arguments.insert(arguments.begin(), {L"check", L"--settings-only", L"--json"});
        const ProgramEnd end = test::RunProgram({L"qx", arguments, "", {{L"QX_CONFIGURATION", L"from environment"}}});
        const std::size_t start = end.output.find("\"QxConfigurationPath\": ");
        return start == std::string::npos ? end.errors : end.output.substr(start, end.output.find(',', start) - start);
    };
    EXPECT_EQ(pathFor({}), R"("QxConfigurationPath": "from environment")");
    const std::wstring connector = L"<LocalServiceConnector QxConfigurationPath='from connector'/>";
    EXPECT_EQ(pathFor({connector}), R"("QxConfigurationPath": "from connector")");
    EXPECT_EQ(pathFor({connector, L"--config", L"<from \"option\" & more>"}),
        R"("QxConfigurationPath": "<from \"option\" & more>")");
    EXPECT_EQ(pathFor({L"@" + directory.Write("connector.xml", "<LocalServiceConnector QxConfigurationPath='x'/>")}),
        R"("QxConfigurationPath": "x")");
}

TEST_F(CheckTest, ShowsServicesAndDistributorAsConfigured)
{
    const std::wstring path = directory.Write("services.xml",
        "<QxConfiguration><System><CrashDump Flags='1' Directory='dumps'/></System><Distributor Host='far'/>"
        "<Servants><Servant RelativePath='b' QxServantLibraryVersion='11.0.0.0'><Services><Service Name='Zeta'>"
        "<ExpectedProcessorUsage>2</ExpectedProcessorUsage></Service></Services></Servant></Servants>"
        "</QxConfiguration>");
    const std::string servant = qpr::ToUtf8(directory.PathOf("b"));
    const std::string servantInJson = std::regex_replace(servant, std::regex(R"(\\)"), R"(\\)");
    const std::string distributor = R"("distributor":{"host":"far","clientPort":"57555"}})";
    EXPECT_EQ(RunJson({L"services", L"--config", path}),
        R"({"services":[{"name":"Zeta","servantPath":")" + servantInJson
            + R"(","is32Bit":true,"addressSpaceInMB":2048,"servantLibraryVersion":"11.0.0.0",)"
              R"("expectedProcessorUsage":"2","expectedMemoryUsageInMB":"","expectedResourceUsageHelpers":"",)"
              R"("crashDumpFlags":"1","crashDumpDirectory":"dumps"}],)"
            + distributor);
    EXPECT_EQ(RunBare({L"services", L"--config", path}),
        (ProgramEnd{0,
            "SERVICE  BITS  PROCESSORS  MEMORY MB  SERVANT\nZeta       32  2           -          " + servant
                + "\nDistributor: far, port 57555\n",
            ""}));
    EXPECT_TRUE(RunJson({L"check", L"<NetworkServiceConnector/>", L"--config", path})
                    .ends_with(R"("configuration":{)" + distributor + "}"));
}
