// The library stops at the first thing it cannot use and ignores what it does not know, as the file's other readers
// want it. The check goes over the same elements with the library's own functions, keeps what each of them throws, and
// adds what looks suspicious.

#include "tools/qx/ConfigurationCheck.h"

#include "config/ExpectedUsage.h"
#include "config/LocalHost.h"
#include "config/ServantsReader.h"
#include "runtime/channels/FilePath.h"
#include "runtime/text/TextValues.h"
#include "tools/qx/ProblemList.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <tuple>

namespace qx
{

namespace
{

using qxm::ConfigurationFile;
using qxm::XmlElement;
using qxm::XmlPosition;

std::wstring LineOf(XmlPosition position)
{
    return L"line " + std::to_wstring(position.line);
}

void CheckDistributor(const ConfigurationFile& file, ProblemList& list)
{
    constexpr std::uint32_t highestPort = 65535;
    const XmlElement* const distributor = file.root.FirstChild(L"Distributor");
    const std::wstring port = distributor ? distributor->AttributeValue(L"ClientPort") : std::wstring();
    if (port.empty())
        return;
    bool isPort = false;
    try
    {
        const std::uint32_t number = qpr::ParseUInt32(port, L"ClientPort");
        isPort = number >= 1 && number <= highestPort;
    }
    catch (const qpr::RuntimeError&)
    {
    }
    if (!isPort)
        list.Error(file, distributor->PositionOf(L"ClientPort"),
            L"ClientPort '" + port + L"' is not a port number (1 to " + std::to_wstring(highestPort) + L")");
}

void CheckExecutable(
    const ConfigurationFile& file, const XmlElement& element, const std::wstring& path, ProblemList& list)
{
    const XmlPosition position = element.PositionOf(L"RelativePath");
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(qpr::ToFilesystemPath(path), failure);
    constexpr auto anybody =
        std::filesystem::perms::owner_exec | std::filesystem::perms::group_exec | std::filesystem::perms::others_exec;
    const std::wstring servant = L"servant '" + path + L"' ";
    if (!std::filesystem::exists(status))
        list.Error(file, position, servant + L"does not exist");
    else if (!std::filesystem::is_regular_file(status))
        list.Error(file, position, servant + L"is not a file");
    else if ((status.permissions() & anybody) == std::filesystem::perms::none)
        list.Error(file, position, servant + L"has no execute permission");
}

/// The walk over the servants and their services.
class Checker
{
public:
    explicit Checker(const qxm::ConnectorConfiguration& connector)
        : m_connector(connector)
        , m_host(qxm::DescribeLocalHost(L"client"))
        , m_limits(m_host.cpuCount, m_host.memorySizeInMB, connector.localExecution)
    {
    }

    ConfigurationFindings Run();

private:
    /// The last definition of a service.
    struct Definition
    {
        std::wstring path;
        XmlPosition position;
        std::wstring reason; ///< why the computer does not offer it; empty when it does
    };

    void CheckFile(const ConfigurationFile& file);
    void CheckBaseFile(const ConfigurationFile& file, const qxm::CrashDumpSettings& crashDump);
    void CheckBaseServants(const ConfigurationFile& base, const qxm::CrashDumpSettings& crashDump);
    void CheckServant(
        const ConfigurationFile& file, const XmlElement& element, const qxm::CrashDumpSettings& crashDump);
    void CheckService(const ConfigurationFile& file, const XmlElement& element, const std::wstring& servantReason,
        const qpr::CountedPtr<const qxm::ServantInfo>& servant);
    void Define(const ConfigurationFile& file, const XmlElement& element, std::wstring reason);

    const qxm::ConnectorConfiguration& m_connector;
    const qxm::HostDescription m_host;
    const qxm::LocalLimits m_limits;
    std::map<std::wstring, Definition> m_definitions;
    ProblemList m_list;
    std::optional<qxm::Configuration> m_configuration;
};

ConfigurationFindings Checker::Run()
{
    const std::wstring path = qxm::LocateConfigurationFile(m_connector.settings.configurationPath);
    const ConfigurationFile file = m_list.Try([&] { return qxm::ReadConfigurationFile(path); });
    if (!file.root.name.empty())
        CheckFile(file);
    std::vector<WithheldService> withheld;
    for (const auto& [name, definition] : m_definitions)
    {
        if (!definition.reason.empty())
            withheld.push_back({name, definition.path, definition.position, definition.reason});
    }
    std::ranges::stable_sort(m_list.problems, {},
        [](const Problem& problem)
        { return std::tuple(problem.path, problem.position.line, problem.position.column); });
    return {std::move(m_configuration), std::move(m_list.problems), std::move(withheld)};
}

void Checker::CheckFile(const ConfigurationFile& file)
{
    CheckNames(file, m_list);
    CheckDistributor(file, m_list);
    const bool isNetwork = m_connector.kind == qxm::ConnectorKind::Network;
    if (!isNetwork)
    {
        const qxm::CrashDumpSettings crashDump = qxm::ReadCrashDump(file.root);
        CheckBaseFile(file, crashDump);
        for (const XmlElement& servant : ChildrenOf(file.root, L"Servants"))
            CheckServant(file, servant, crashDump);
    }
    if (std::ranges::find(m_list.problems, Severity::Error, &Problem::severity) == m_list.problems.end())
        m_configuration =
            isNetwork ? qxm::Configuration{{}, qxm::ReadDistributor(file.root)} : qxm::ReadConfiguration(file, m_host);
}

void Checker::CheckBaseFile(const ConfigurationFile& file, const qxm::CrashDumpSettings& crashDump)
{
    const std::wstring path = qxm::ServiceConfigurationPath(file);
    if (path.empty())
        return;
    ConfigurationFile base;
    try
    {
        base = m_list.Try([&] { return ConfigurationFile::Read(path); });
    }
    catch (const qpr::RuntimeError& error) // it cannot be opened
    {
        return m_list.Error(file, file.root.PositionOf(L"ServiceConfigurationPath"), qpr::ErrorText(error));
    }
    if (!base.root.name.empty() && CheckBaseNames(base, m_list))
        CheckBaseServants(base, crashDump);
}

void Checker::CheckBaseServants(const ConfigurationFile& base, const qxm::CrashDumpSettings& crashDump)
{
    for (const XmlElement& element : ChildrenOf(base.root, L"Servants"))
    {
        if (const auto servant = m_list.Try([&] { return qxm::ReadBaseServant(base, element, crashDump); }))
            CheckExecutable(base, element, servant->executablePath, m_list);
        for (const XmlElement& service : ChildrenOf(element, L"Services"))
        {
            const std::wstring name = service.AttributeValue(L"Name");
            if (name.empty())
                m_list.Error(base, service.position, L"Missing Name attribute in <Service> element");
            else if (const auto earlier = m_definitions.find(name); earlier != m_definitions.end())
                m_list.Error(base, service.PositionOf(L"Name"),
                    L"Duplicate service name '" + name + L"', first in " + LineOf(earlier->second.position));
            else
                Define(base, service, {});
        }
    }
}

void Checker::CheckServant(
    const ConfigurationFile& file, const XmlElement& element, const qxm::CrashDumpSettings& crashDump)
{
    const std::wstring reason = CheckRequirements(file, element, L"of its servant", m_host, m_list);
    const auto servant = m_list.Try([&] { return qxm::ReadServant(file, element, crashDump); });
    // The platform is what is read first: where it is wrong, its error is the one just found.
    static const std::vector<std::wstring> platforms = {L"WinX86", L"WinX64"};
    const std::wstring platform = element.AttributeValue(L"TargetPlatform");
    if (!platform.empty() && std::ranges::find(platforms, platform) == platforms.end())
        m_list.problems.back().text += Suggestion(platform, platforms);

    const std::vector<XmlElement>& services = ChildrenOf(element, L"Services");
    if (services.empty())
        m_list.Warning(file, element.position, L"<Servant> offers no service");
    const qpr::CountedPtr<const qxm::ServantInfo> unread = qpr::MakeCounted<qxm::ServantInfo>();
    for (const XmlElement& service : services)
        CheckService(file, service, reason, servant ? servant : unread);
    if (servant && reason.empty())
        CheckExecutable(file, element, servant->executablePath, m_list);
}

void Checker::CheckService(const ConfigurationFile& file, const XmlElement& element, const std::wstring& servantReason,
    const qpr::CountedPtr<const qxm::ServantInfo>& servant)
{
    const std::wstring ownReason = CheckRequirements(file, element, L"of the service", m_host, m_list);
    const auto service = m_list.Try([&] { return qxm::ReadService(file, element, servant); });
    if (!service)
        return;
    Define(file, element, servantReason.empty() ? ownReason : servantReason);
    CheckFormulas(file, element, *service, m_limits, m_list);
    static const std::vector<std::wstring> modes = {L"none", L"zlib", L"qlz14"};
    const std::wstring& mode = service->compressionMode;
    if (!mode.empty() && std::ranges::find(modes, mode) == modes.end())
        m_list.Error(file, element.PositionOf(L"CompressionMode"),
            L"Invalid compression mode string '" + mode + L"'" + Suggestion(mode, modes));
}

void Checker::Define(const ConfigurationFile& file, const XmlElement& element, std::wstring reason)
{
    const std::wstring name = element.AttributeValue(L"Name");
    const XmlPosition position = element.PositionOf(L"Name");
    const auto earlier = m_definitions.find(name);
    if (earlier != m_definitions.end() && earlier->second.reason.empty())
    {
        const bool isSameFile = earlier->second.path == file.path;
        const std::wstring place =
            LineOf(earlier->second.position) + (isSameFile ? L"" : L" of '" + earlier->second.path + L"'");
        if (!reason.empty())
            m_list.Warning(
                file, position, L"service '" + name + L"' is not for this computer and takes back that in " + place);
        else if (isSameFile)
            m_list.Warning(file, position, L"service '" + name + L"' takes the place of that in " + place);
    }
    m_definitions.insert_or_assign(name, Definition{file.path, position, std::move(reason)});
}

} // namespace

ConfigurationFindings CheckConfiguration(const qxm::ConnectorConfiguration& connector)
{
    return Checker(connector).Run();
}

} // namespace qx
