#include "config/Configuration.h"

#include "config/ServantsReader.h"
#include "runtime/channels/FilePath.h"
#include "runtime/processes/CurrentProcess.h"

namespace qxm
{

ConfigurationFile ConfigurationFile::Read(const std::wstring& path, const XmlElement* templateRoot)
{
    std::ifstream file = qpr::OpenInputFile(path);
    try
    {
        return {path, XmlDocument::Read(file, L"configuration file '" + path + L"'", templateRoot).root};
    }
    catch (const XmlError& error)
    {
        throw ConfigurationError(error, path);
    }
}

std::wstring ConfigurationFile::Directory() const
{
    return qpr::DirectoryOf(qpr::FullPath(path));
}

void ConfigurationFile::Fail(const XmlElement& element, std::wstring_view attributeName, const std::wstring& text) const
{
    throw ConfigurationError(XmlError(text, element.PositionOf(attributeName)), path);
}

std::wstring LocateConfigurationFile(const std::wstring& configuredPath)
{
    if (!configuredPath.empty())
        return qpr::WithNativeSeparators(configuredPath);
    return qpr::JoinPath(qpr::DirectoryOf(qpr::CurrentProcess::GetExecutablePath()), L"QxConfiguration.xml");
}

XmlElement ServiceConfigurationTemplate()
{
    return ReadTemplate(R"(
        <ServiceConfiguration>
          <System><CrashDump Flags="" Directory=""/></System>
          <Distributor Host="" AgentPort="" ClientPort=""/>
          <Servants><Servant RelativePath=""><Services><Service Name=""/></Services></Servant></Servants>
        </ServiceConfiguration>)");
}

ConfigurationFile ReadConfigurationFile(const std::wstring& path)
{
    constexpr wchar_t rootName[] = L"QxConfiguration";
    ConfigurationFile file = ConfigurationFile::Read(path);
    if (file.root.name != rootName)
        file.Fail(file.root, {},
            L"Invalid configuration file: document element is <" + file.root.name + L"> instead of <" + rootName
                + L">");
    return file;
}

std::wstring ServiceConfigurationPath(const ConfigurationFile& file)
{
    const std::wstring path = file.root.AttributeValue(L"ServiceConfigurationPath");
    if (path.empty())
        return {};
    const std::wstring native = qpr::WithNativeSeparators(path);
    return qpr::IsAbsolutePath(path) ? native : qpr::JoinPath(file.Directory(), native);
}

Configuration ReadConfiguration(const ConfigurationFile& file, const HostDescription& localHost)
{
    const CrashDumpSettings crashDump = ReadCrashDump(file.root);
    Configuration configuration;
    const std::wstring basePath = ServiceConfigurationPath(file);
    if (!basePath.empty())
    {
        const XmlElement allowed = ServiceConfigurationTemplate();
        ReadBaseServants(ConfigurationFile::Read(basePath, &allowed), crashDump, configuration.services);
    }
    ReadServants(file, crashDump, localHost, configuration.services);
    configuration.distributor = ReadDistributor(file.root);
    return configuration;
}

Configuration ReadConfiguration(const std::wstring& path, const HostDescription& localHost)
{
    return ReadConfiguration(ReadConfigurationFile(path), localHost);
}

DistributorSettings ReadDistributor(const XmlElement& root)
{
    DistributorSettings settings;
    const XmlElement* distributor = root.FirstChild(L"Distributor");
    if (!distributor)
        return settings;
    const std::wstring host = distributor->AttributeValue(L"Host");
    if (!host.empty())
        settings.host = host;
    const std::wstring clientPort = distributor->AttributeValue(L"ClientPort");
    if (!clientPort.empty())
        settings.clientPort = clientPort;
    return settings;
}

DistributorSettings ReadDistributorSettings(const std::wstring& path)
{
    return ReadDistributor(ReadConfigurationFile(path).root);
}

} // namespace qxm
