#include "ToolFixture.h"

#include "runtime/text/Utf8.h"

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

TEST_F(CheckTest, NamesWhatCannotBeRead)
{
    const std::wstring wrongRoot = directory.Write("wrong root.xml", "<Configuration/>");
    const std::string wrongRootText =
        "Invalid configuration file: document element is <Configuration> instead of <QxConfiguration>\n";
    const std::wstring missing = directory.PathOf("missing.xml");
    const struct
    {
        std::vector<std::wstring> arguments;
        std::string error;
    } cases[] = {
        {{L"<Connector/>"}, "Invalid service connector name 'Connector'"},
        {{L"<NetworkServiceConector/>"},
            "Invalid service connector name 'NetworkServiceConector'; did you mean 'NetworkServiceConnector'?"},
        {{L"<LocalServiceConnector Colour='red'/>"}, "Invalid attribute 'Colour' in <LocalServiceConnector> element"},
        {{L"<LocalServiceConnector MaxLocalServants='0'/>"}, "Invalid MaxLocalServants value (must be 1 or higher)"},
    };
    for (const auto& testCase : cases)
    {
        std::vector<std::wstring> arguments = {L"check"};
        arguments.insert(arguments.end(), testCase.arguments.begin(), testCase.arguments.end());
        EXPECT_EQ(RunBare(arguments), (ProgramEnd{1, "", "qx: " + testCase.error + "\n"}));
    }
    const std::string path = qpr::ToUtf8(wrongRoot);
    EXPECT_EQ(RunBare({L"check", L"--config", wrongRoot}),
        (ProgramEnd{1, "",
            path + ":1:1: error: " + wrongRootText + "qx: 1 error and 0 warnings in configuration '" + path + "'\n"}));
    EXPECT_EQ(RunBare({L"services", L"--config", wrongRoot}),
        (ProgramEnd{1, "", "qx: configuration file '" + path + "', line 1, column 1: " + wrongRootText}));
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
    EXPECT_EQ(pathFor({L"--config="}), R"("QxConfigurationPath": "")");
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
                    .ends_with(R"("configuration":{)" + distributor + R"(,"withheld":[],"problems":[]})"));
}

TEST_F(CheckTest, FindsAllThatIsWrongOrSuspiciousAndWhere)
{
    const std::string servant =
        "'" + std::filesystem::relative(ProgramPath(L"qx-test-servant"), directory.Path()).string() + "'";
    directory.Write("plain", "not to be executed");
    directory.Write("base.xml",
        R"(<ServiceConfiguration><Servants>
<Servant RelativePth='x'/>
<Servant RelativePath=)"
            + servant + R"(><Services><Service Name='Base'/>
<Service Name='Base'/></Services></Servant></Servants></ServiceConfiguration>)");
    const std::wstring path = directory.Write("lint.xml",
        R"(<QxConfiguration ServiceConfigurationPath='base.xml'>
<Distributer Host='x'/><Distributor ClientPort='99999'/><Servants>
<Servant TargetPlatfrom='WinX64' RelativePath=)"
            + servant + R"(><Services>
 <Service Name='A'><ExpectedProcessorUsage>1 + size</ExpectedProcessorUsage>
  <ExpectedMemoryUsageInMB>Size &lt;
  2</ExpectedMemoryUsageInMB></Service>
 <Service Name='B' CompressionMode='zip'><ExpectedMemoryUsageInMB>ProcesorCount</ExpectedMemoryUsageInMB></Service>
 <Service Name='C'><HostRequirements>ProcessorCnt > 1</HostRequirements></Service>
 <Service Name='D'><HostRequirements>ProcessorCount > </HostRequirements></Service>
 <Service Name='E'><ExpectedProcessorUsage>0 - 1</ExpectedProcessorUsage>
  <ExpectedMemoryUsageInMB>1</ExpectedMemoryUsageInMB></Service>
 <Service/></Services></Servant>
<Servant RelativePath='plain'
  TargetPlatform='WinX46' Colour='red'>text<!-- --></Servant>
<Servant RelativePath='plain'><Services><Service Name='E'/></Services></Servant>
<Servant RelativePath='missing'><Services><Service Name='Hidden'>
  <HostRequirements>ProcessorCount > 1e9</HostRequirements></Service></Services></Servant>
</Servants><Servants/></QxConfiguration>)");
    const std::string expected = R"(base.xml:2:1: error: Missing RelativePath attribute in <Servant> element
base.xml:2:10: error: Invalid attribute 'RelativePth' in element <Servant>; did you mean 'RelativePath'?
base.xml:4:10: error: Duplicate service name 'Base', first in line 3
lint.xml:2:1: error: unknown element 'Distributer' in <QxConfiguration>; did you mean 'Distributor'?
lint.xml:2:37: error: ClientPort '99999' is not a port number (1 to 65535)
lint.xml:3:10: error: unknown attribute 'TargetPlatfrom' in <Servant>; did you mean 'TargetPlatform'?
lint.xml:4:48: error: Invalid token 'size' in ExpectedProcessorUsage
lint.xml:6:4: error: Infix operand type mismatch in ExpectedMemoryUsageInMB
lint.xml:7:2: warning: attribute 'ProcesorCount' of service 'B'; did you mean 'ProcessorCount'?
lint.xml:7:20: error: Invalid compression mode string 'zip'
lint.xml:7:42: warning: <ExpectedMemoryUsageInMB> has no effect without <ExpectedProcessorUsage>
lint.xml:8:38: error: unknown variable 'ProcessorCnt' in HostRequirements; did you mean 'ProcessorCount'?
lint.xml:9:54: error: Missing token in HostRequirements
lint.xml:10:44: error: ExpectedProcessorUsage of service 'E' evaluated to invalid value -1
lint.xml:12:2: error: Missing 'Name' attribute in <Service> element
lint.xml:13:1: warning: <Servant> offers no service
lint.xml:14:3: error: Invalid target platform string 'WinX46'; did you mean 'WinX86'?
lint.xml:14:27: warning: unknown attribute 'Colour' in <Servant>
lint.xml:14:40: warning: the text in <Servant> is ignored
lint.xml:15:10: error: servant 'plain' has no execute permission
lint.xml:15:50: warning: service 'E' takes the place of that in line 10
lint.xml:16:10: error: servant 'missing' does not exist
lint.xml:18:12: warning: only the first <Servants> in <QxConfiguration> counts
qx: 16 errors and 7 warnings in configuration 'lint.xml'
)";
    const ProgramEnd end = RunBare({L"check", L"--config", path});
    EXPECT_EQ(end.exitCode, 1u);
    EXPECT_EQ(end.output, "");
    const std::string here = qpr::ToUtf8(directory.PathOf(""));
    std::string found = end.errors;
    for (std::size_t at = found.find(here); at != std::string::npos; at = found.find(here))
        found.erase(at, here.size());
    EXPECT_EQ(found, expected);
}

TEST_F(CheckTest, WarningsFailWhenStrictAndServicesNotOfferedHaveAReason)
{
    const std::string servant =
        "'" + std::filesystem::relative(ProgramPath(L"qx-test-servant"), directory.Path()).string() + "'";
    const std::wstring path = directory.Write("c.xml",
        "<QxConfiguration><Servants><Servant Colour='red' RelativePath=" + servant
            + "><Services><Service Name='A'/><Service Name='B'><HostRequirements>ProcessorCount > 1e9"
              "</HostRequirements></Service></Services></Servant></Servants></QxConfiguration>");
    const ProgramEnd lenient = RunBare({L"check", L"--config", path});
    EXPECT_EQ(lenient.exitCode, 0u);
    EXPECT_EQ(lenient.errors, qpr::ToUtf8(path) + ":1:37: warning: unknown attribute 'Colour' in <Servant>\n");
    const ProgramEnd strict = RunBare({L"check", L"--json", L"--strict", L"--config", path});
    EXPECT_EQ(strict.exitCode, 1u);
    const qx::Json document = qx::Json::parse(strict.output);
    EXPECT_EQ(document["withheld"][0]["name"], "B");
    EXPECT_EQ(document["withheld"][0]["reason"], "HostRequirements of the service are not met");
    EXPECT_EQ(document["problems"][0]["severity"], "warning");
    EXPECT_EQ(document["problems"][0]["column"], 37);
    EXPECT_EQ(document["configuration"]["services"].size(), 1u);
}
