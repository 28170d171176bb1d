#include "config/Configuration.h"

#include "config/ServantsReader.h"
#include "config/XmlDocument.h"
#include "runtime/CurrentProcess.h"
#include "runtime/Errors.h"
#include "runtime/FilePath.h"
#include "runtime/InputFile.h"

namespace qxm
{

namespace
{

constexpr wchar_t defaultFileName[] = L"QxConfiguration.xml";

XmlElement ReadFile(const std::wstring& path, const XmlElement* templateRoot = nullptr)
{
    std::ifstream file = qpr::OpenInputFile(path);
    return XmlDocument::Read(file, L"configuration file '" + path + L"'", templateRoot).root;
}

XmlElement ReadConfigurationRoot(const std::wstring& path)
{
    constexpr wchar_t rootName[] = L"QxConfiguration";
    XmlElement root = ReadFile(path);
    if (root.name != rootName)
        throw qpr::RuntimeError(
            L"Invalid configuration file: document element is <" + root.name + L"> instead of <" + rootName + L">");
    return root;
}

/// What a service configuration file may hold.
XmlElement ServiceConfigurationTemplate()
{
    XmlElement root;
    root.name = L"ServiceConfiguration";
    XmlElement& crashDump = root.AddChild(L"System").AddChild(L"CrashDump");
    crashDump.SetAttribute(L"Flags", {});
    crashDump.SetAttribute(L"Directory", {});
    XmlElement& distributor = root.AddChild(L"Distributor");
    distributor.SetAttribute(L"Host", {});
    distributor.SetAttribute(L"AgentPort", {});
    distributor.SetAttribute(L"ClientPort", {});
    XmlElement& servant = root.AddChild(L"Servants").AddChild(L"Servant");
    servant.SetAttribute(L"RelativePath", {});
    servant.AddChild(L"Services").AddChild(L"Service").SetAttribute(L"Name", {});
    return root;
}

CrashDumpSettings ReadCrashDump(const XmlElement& root)
{
    const XmlElement* system = root.FirstChild(L"System");
    const XmlElement* crashDump = system ? system->FirstChild(L"CrashDump") : nullptr;
    if (!crashDump)
        return {};
    return {crashDump->AttributeValue(L"Flags"), crashDump->AttributeValue(L"Directory")};
}

void ReadServiceConfigurationFile(const std::wstring& path, const CrashDumpSettings& crashDump, ServicesMap& services)
{
    const XmlElement allowed = ServiceConfigurationTemplate();
    const XmlElement root = ReadFile(path, &allowed);
    ReadBaseServants(root, qpr::DirectoryOf(qpr::FullPath(path)), crashDump, services);
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

} // namespace

std::wstring LocateConfigurationFile(const std::wstring& configuredPath)
{
    if (!configuredPath.empty())
        return qpr::WithNativeSeparators(configuredPath);
    return qpr::JoinPath(qpr::DirectoryOf(qpr::CurrentProcess::GetExecutablePath()), defaultFileName);
}

Configuration ReadConfiguration(const std::wstring& path, const HostDescription& localHost)
{
    const XmlElement root = ReadConfigurationRoot(path);
    const std::wstring directory = qpr::DirectoryOf(qpr::FullPath(path));
    const CrashDumpSettings crashDump = ReadCrashDump(root);

    Configuration configuration;
    const std::wstring basePath = root.AttributeValue(L"ServiceConfigurationPath");
    if (!basePath.empty())
    {
        const std::wstring native = qpr::WithNativeSeparators(basePath);
        ReadServiceConfigurationFile(qpr::IsAbsolutePath(basePath) ? native : qpr::JoinPath(directory, native),
            crashDump, configuration.services);
    }
    ReadServants(root, directory, crashDump, localHost, configuration.services);
    configuration.distributor = ReadDistributor(root);
    return configuration;
}

DistributorSettings ReadDistributorSettings(const std::wstring& path)
{
    return ReadDistributor(ReadConfigurationRoot(path));
}

} // namespace qxm
