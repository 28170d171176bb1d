#include "config/Configuration.h"

#include "config/TemporaryDirectory.h"
#include "runtime/channels/FilePath.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

using namespace qxm;
using test::ErrorOf;
using test::TemporaryDirectory;

namespace
{

HostDescription Host()
{
    HostDescription host;
    host.hostName = L"alpha";
    host.cpuInfo = L"Fast CPU";
    host.cpuCount = 8;
    host.memorySizeInMB = 16000;
    return host;
}

/// Reads a configuration whose root element has this content.
Configuration Read(const std::string& content, const std::string& attributes = {})
{
    const TemporaryDirectory directory;
    return ReadConfiguration(
        directory.Write("c.xml", "<QxConfiguration " + attributes + ">" + content + "</QxConfiguration>"), Host());
}

/// A servant with one service.
std::string Servant(const std::string& path, const std::string& service, const std::string& servantRequirements = {},
    const std::string& serviceRequirements = {})
{
    const auto requirements = [](const std::string& text)
    { return text.empty() ? text : "<HostRequirements>" + text + "</HostRequirements>"; };
    return "<Servant RelativePath='" + path + "'>" + requirements(servantRequirements) + "<Services><Service Name='"
        + service + "'>" + requirements(serviceRequirements) + "</Service></Services></Servant>";
}

std::wstring Names(const ServicesMap& services)
{
    std::wstring names;
    for (const auto& [name, service] : services)
        names += name + L" ";
    return names;
}

std::wstring Describe(const Configuration& configuration, const wchar_t* name)
{
    const LocalServiceInfo& service = *configuration.services.at(name);
    const ServantInfo& servant = *service.servant;
    return service.name + L" " + service.expectedProcessorUsage + L"|" + service.expectedMemoryUsageInMB + L"|"
        + service.expectedResourceUsageHelpers + L"|" + servant.crashDumpFlags + L" " + servant.crashDumpDirectory
        + L"|" + servant.executablePath + (servant.is32Bit ? L"|32-bit|" : L"|64-bit|")
        + std::to_wstring(servant.addressSpaceInMB);
}

} // namespace

TEST(Configuration, ListsServantsAndTheirServices)
{
    const TemporaryDirectory directory;
    const std::wstring path = directory.Write("conf/c.xml",
        "<QxConfiguration><System><CrashDump Flags='7' Directory='dumps'/></System>"
        "<Distributor Host='' ClientPort='4711' AgentPort='1'/>"
        "<Servants><Servant RelativePath='..\\bin\\./x.exe' TargetPlatform='WinX64' IsLargeAddressAware='rubbish'"
        " QxServantLibraryVersion='11.0.0.5'><Services>"
        "<Service Name='Render'><ExpectedProcessorUsage>1</ExpectedProcessorUsage>"
        "<ExpectedMemoryUsageInMB>M</ExpectedMemoryUsageInMB>"
        "<ExpectedResourceUsageHelpers>M = 2;</ExpectedResourceUsageHelpers></Service>"
        "<AnyName Name='Gzip'/></Services></Servant>"
        "<Servant RelativePath='old.exe' IsLargeAddressAware='true'><Services><Service "
        "Name='Old'/></Services></Servant>"
        "</Servants></QxConfiguration>");
    const Configuration configuration = ReadConfiguration(path, Host());

    EXPECT_EQ(configuration.distributor.host, L"localhost");
    EXPECT_EQ(configuration.distributor.clientPort, L"4711");
    EXPECT_EQ(Names(configuration.services), L"Gzip Old Render ");

    EXPECT_EQ(Describe(configuration, L"Render"),
        L"Render 1|M|M = 2;|7 dumps|" + directory.PathOf("bin/x.exe") + L"|64-bit|8388608");
    EXPECT_TRUE(configuration.services.at(L"Render")->servant->LibraryIsAtLeast({11, 0, 0}));
    EXPECT_FALSE(configuration.services.at(L"Render")->servant->LibraryIsAtLeast({11, 0, 1}));
    EXPECT_EQ(configuration.services.at(L"Gzip")->servant, configuration.services.at(L"Render")->servant);
    EXPECT_EQ(Describe(configuration, L"Old"), L"Old |||7 dumps|" + directory.PathOf("conf/old.exe") + L"|32-bit|4096");
    EXPECT_FALSE(configuration.services.at(L"Old")->servant->LibraryIsAtLeast({0, 0, 0}));
}

TEST(Configuration, MayBeAlmostEmpty)
{
    const Configuration configuration = Read("");
    EXPECT_TRUE(configuration.services.empty());
    EXPECT_EQ(configuration.distributor.host, L"localhost");
    EXPECT_EQ(configuration.distributor.clientPort, L"57555");
}

TEST(Configuration, TheLastDefinitionOfAServiceCountsAndAnUnmetOneRemovesIt)
{
    const std::pair<std::string, const wchar_t*> cases[] = {
        {Servant("a", "S") + Servant("b", "S", "ProcessorCount >= 8"), L"S "},
        {Servant("a", "S") + Servant("b", "S", "ProcessorCount > 8"), L""},
        {Servant("a", "S") + Servant("b", "S", "", "PhysicalMemorySizeInMB &lt; 16000"), L""},
        {Servant("a", "S", "HostName == \"beta\"") + Servant("b", "S"), L"S "},
        {Servant("a", "S", "HostName == \"alpha\" and CpuInfo == \"Fast CPU\""), L"S "},
        {Servant("a", "S", "ProcessorCount >") + Servant("b", "T", "Unknown == 1") + Servant("c", "U", "1"), L""},
        {Servant("a", "S", "HostName > 1") + Servant("b", "T", "1 == 1", ""), L"T "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Names(Read("<Servants>" + c.first + "</Servants>").services), c.second) << c.first;

    const auto services = Read("<Servants>" + Servant("a", "S") + Servant("b", "S") + "</Servants>").services;
    EXPECT_TRUE(services.at(L"S")->servant->executablePath.ends_with(L"b"));
}

TEST(Configuration, ExtendsAServiceConfigurationFile)
{
    const TemporaryDirectory directory;
    const auto base = [&](const std::string& services)
    {
        directory.Write("base/s.xml",
            "<ServiceConfiguration><System><CrashDump Flags='ignored'/></System><Servants>"
            "<Servant RelativePath='b.exe'><Services>"
                + services + "</Services></Servant></Servants></ServiceConfiguration>");
    };
    const auto read = [&](const std::string& path)
    {
        return ReadConfiguration(directory.Write("c.xml",
                                     "<QxConfiguration ServiceConfigurationPath='" + path
                                         + "'><System><CrashDump Flags='1'/></System><Servants>"
                                         + Servant("own.exe", "Both") + "</Servants></QxConfiguration>"),
            Host());
    };

    base("<Service Name='Base'/><Service Name='Both'/>");
    for (const std::string& path : {std::string("base\\s.xml"), (directory.Path() / "base" / "s.xml").string()})
    {
        const Configuration configuration = read(path);
        EXPECT_EQ(Names(configuration.services), L"Base Both ");
        EXPECT_EQ(Describe(configuration, L"Base"), L"Base |||1 |" + directory.PathOf("base/b.exe") + L"|32-bit|2048");
        EXPECT_EQ(Describe(configuration, L"Both"), L"Both |||1 |" + directory.PathOf("own.exe") + L"|32-bit|2048");
    }

    const std::string name = "configuration file '" + qpr::ToUtf8(directory.PathOf("base/s.xml")) + "': ";
    const std::pair<const char*, std::string> cases[] = {
        {"<Service Name='S'/><Service Name='S'/>", "Duplicate service name 'S'"},
        {"<Service/>", "Missing Name attribute in <Service> element"},
        {"<Service Name='S' Mode='1'/>", name + "Invalid attribute 'Mode' in element <Service>"},
        {"<Other/>", name + "Invalid child element <Other> in element <Services>"},
    };
    for (const auto& c : cases)
    {
        base(c.first);
        EXPECT_EQ(ErrorOf([&] { read("base/s.xml"); }), c.second);
    }
}

TEST(Configuration, RefusesWhatItCannotUnderstand)
{
    const std::pair<std::string, const char*> cases[] = {
        {"<Servant/>", "Missing RelativePath attribute in <Servant> element"},
        {"<Servant RelativePath='\\\\server\\share\\x.exe'/>",
            "<Servant RelativePath='\\\\server\\share\\x.exe'> must be a relative path"},
        {"<Servant RelativePath='C:\\x.exe'/>", "<Servant RelativePath='C:\\x.exe'> must be a relative path"},
        {"<Servant RelativePath='\\x'/>", "<Servant RelativePath='\\x'> must be a relative path"},
        {"<Servant RelativePath='x' TargetPlatform='winx64'><HostRequirements>1 == 2</HostRequirements></Servant>",
            "Invalid target platform string 'winx64'"},
        {"<Servant RelativePath='x' IsLargeAddressAware='1'/>",
            "Invalid IsLargeAddressAware string '1': value must be a boolean."},
        {"<Servant RelativePath='x' QxServantLibraryVersion='1.2'/>",
            "Invalid QxServantLibraryVersion '1.2' (Invalid number of components)"},
        {Servant("x", ""), "Missing 'Name' attribute in <Service> element"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { Read("<Servants>" + c.first + "</Servants>"); }), c.second) << c.first;
}

TEST(Configuration, FileErrorsNameThePath)
{
    const TemporaryDirectory directory;
    for (const char* unreadable : {"none.xml", "."})
    {
        const std::wstring path = directory.PathOf(unreadable);
        const std::string error = "CreateFile('" + qpr::ToUtf8(path) + "') failed";
        EXPECT_EQ(ErrorOf([&] { ReadConfiguration(path, Host()); }).substr(0, error.size()), error);
    }
    const std::wstring other = directory.Write("o.xml", "<Other/>");
    EXPECT_EQ(ErrorOf([&] { ReadDistributorSettings(other); }),
        "Invalid configuration file: document element is <Other> instead of <QxConfiguration>");
    const std::wstring broken = directory.Write("b.xml", "<QxConfiguration>");
    EXPECT_EQ(ErrorOf([&] { ReadConfiguration(broken, Host()); }),
        "configuration file '" + qpr::ToUtf8(broken)
            + "': XML_ParseBuffer() failed, Expat error code = 3 (no element found), line 1, column 17");
}

TEST(Configuration, IsLocatedBesideTheApplicationUnlessConfigured)
{
    const std::wstring separator = qpr::WithNativeSeparators(L"/");
    EXPECT_EQ(LocateConfigurationFile(L"conf\\c.xml"), L"conf" + separator + L"c.xml");
    EXPECT_EQ(LocateConfigurationFile(L""),
        qpr::JoinPath(qpr::DirectoryOf(qpr::CurrentProcess::GetExecutablePath()), L"QxConfiguration.xml"));
}
