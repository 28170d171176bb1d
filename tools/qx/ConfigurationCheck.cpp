// The library stops at the first thing it cannot use and passes over what it does not know, as the file's other readers
// want it. The check goes over the same elements with the library's own functions, keeps what each of them throws, and
// adds what it finds suspicious.

#include "tools/qx/ConfigurationCheck.h"

#include "config/ExpectedUsage.h"
#include "config/HostRequirements.h"
#include "config/LocalHost.h"
#include "config/ServantsReader.h"
#include "config/UsageModel.h"
#include "runtime/channels/FilePath.h"
#include "runtime/text/NearestName.h"
#include "runtime/text/TextValues.h"
#include "runtime/text/WhiteSpace.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <tuple>

namespace qx
{

namespace
{

using qxm::ConfigurationFile;
using qxm::XmlElement;
using qxm::XmlPosition;

constexpr const wchar_t* formulaNames[] = {
    L"ExpectedResourceUsageHelpers", L"ExpectedProcessorUsage", L"ExpectedMemoryUsageInMB"};
constexpr wchar_t requirementsName[] = L"HostRequirements";

/// Names that other programs read in the same file.
const std::vector<std::wstring>& ForeignNames()
{
    static const std::vector<std::wstring> names = {L"AgentPort", L"CompressionMode", L"CpuScore", L"CurrentExecutable",
        L"CurrentVersion", L"DefaultAgentSettings", L"JobLimit", L"PhysicalMemoryUtilizationLimit",
        L"ProcessorUtilizationLimit", L"QxAgent", L"IfHostName", L"IfCpuInfo", L"IfProcessorCount", L"IfPhysicalMemory",
        L"Equals", L"LessThan", L"MoreThan", L"Matches", L"StartsWith"};
    return names;
}

/// What the library and the distributor read in a configuration file.
XmlElement ConfigurationTemplate()
{
    XmlElement root;
    root.name = L"QxConfiguration";
    root.SetAttribute(L"ServiceConfigurationPath", {});
    XmlElement& crashDump = root.AddChild(L"System").AddChild(L"CrashDump");
    crashDump.SetAttribute(L"Flags", {});
    crashDump.SetAttribute(L"Directory", {});
    XmlElement& distributor = root.AddChild(L"Distributor");
    distributor.SetAttribute(L"Host", {});
    distributor.SetAttribute(L"ClientPort", {});
    XmlElement& servant = root.AddChild(L"Servants").AddChild(L"Servant");
    for (const wchar_t* name : {L"RelativePath", L"TargetPlatform", L"IsLargeAddressAware", L"QxServantLibraryVersion"})
        servant.SetAttribute(name, {});
    servant.AddChild(requirementsName);
    XmlElement& service = servant.AddChild(L"Services").AddChild(L"Service");
    service.SetAttribute(L"Name", {});
    service.SetAttribute(L"CompressionMode", {});
    service.AddChild(requirementsName);
    for (const wchar_t* name : formulaNames)
        service.AddChild(name);
    return root;
}

bool MayRepeat(const std::wstring& elementName)
{
    return elementName == L"Servant" || elementName == L"Service";
}

bool IsBlank(std::wstring_view text)
{
    return std::ranges::all_of(text, qpr::IsWhiteSpace);
}

std::wstring Suggestion(const std::wstring& given, const std::vector<std::wstring>& known)
{
    const auto nearest = qpr::NearestName(given, known);
    return nearest ? L"; did you mean '" + *nearest + L"'?" : std::wstring();
}

/// What may stand where the stranger does.
std::vector<std::wstring> KnownNames(const qxm::XmlStranger& stranger)
{
    std::vector<std::wstring> names;
    if (stranger.isAttribute)
        std::ranges::transform(stranger.allowed.attributes, std::back_inserter(names), &qxm::XmlAttribute::name);
    else
        std::ranges::transform(stranger.allowed.children, std::back_inserter(names), &XmlElement::name);
    return names;
}

std::wstring LineOf(XmlPosition position)
{
    return L"line " + std::to_wstring(position.line);
}

class Checker
{
public:
    explicit Checker(const qxm::ConnectorConfiguration& connector)
        : m_connector(connector)
        , m_host(qxm::DescribeLocalHost(L"client"))
        , m_limits(m_host.cpuCount, m_host.memorySizeInMB, connector.localExecution)
    {
    }

    void Run();
    ConfigurationFindings Take();

private:
    /// The last definition of a service.
    struct Definition
    {
        std::wstring path;
        XmlPosition position;
        std::wstring reason; ///< why the computer does not offer it; empty when it does
    };

    void Error(const ConfigurationFile& file, XmlPosition position, std::wstring text)
    {
        m_findings.problems.push_back({true, file.path, position, std::move(text)});
    }
    void Warning(const ConfigurationFile& file, XmlPosition position, std::wstring text)
    {
        m_findings.problems.push_back({false, file.path, position, std::move(text)});
    }

    /// The action's result, or an error found and a value made of nothing.
    template <class Action>
    auto Try(Action action) -> decltype(action());

    void CheckNames(const ConfigurationFile& file);
    void CheckShape(const ConfigurationFile& file, const XmlElement& element, const XmlElement& allowed);
    void CheckDistributor(const ConfigurationFile& file);
    void CheckBaseFile(const ConfigurationFile& file);
    void CheckBaseServants(const ConfigurationFile& base, const qxm::CrashDumpSettings& crashDump);
    void CheckServant(
        const ConfigurationFile& file, const XmlElement& element, const qxm::CrashDumpSettings& crashDump);
    void CheckService(const ConfigurationFile& file, const XmlElement& element, const std::wstring& servantReason,
        const qpr::CountedPtr<const qxm::ServantInfo>& servant);
    std::wstring CheckRequirements(const ConfigurationFile& file, const XmlElement& element, const wchar_t* whose);
    void CheckFormulas(const ConfigurationFile& file, const XmlElement& element, const qxm::LocalServiceInfo& service);
    void CheckValues(const ConfigurationFile& file, const XmlElement& element, const qxm::LocalServiceInfo& service);
    /// The element of the formula that the error comes from, which begins with its name; null for another error.
    const XmlElement* ReportFormula(
        const ConfigurationFile& file, const XmlElement& service, const std::exception& error);
    void CheckExecutable(const ConfigurationFile& file, const XmlElement& element, const std::wstring& path);
    void Define(const ConfigurationFile& file, const XmlElement& element, std::wstring reason);

    const qxm::ConnectorConfiguration& m_connector;
    const qxm::HostDescription m_host;
    const qxm::LocalLimits m_limits;
    std::map<std::wstring, Definition> m_definitions;
    ConfigurationFindings m_findings;
};

template <class Action>
auto Checker::Try(Action action) -> decltype(action())
{
    try
    {
        return action();
    }
    catch (const qxm::ConfigurationError& error)
    {
        m_findings.problems.push_back({true, error.GetPath(), error.GetPosition(), error.GetReason()});
        return {};
    }
}

void Checker::Run()
{
    const std::wstring path = qxm::LocateConfigurationFile(m_connector.settings.configurationPath);
    const ConfigurationFile file = Try([&] { return qxm::ReadConfigurationFile(path); });
    if (file.root.name.empty())
        return;
    CheckNames(file);
    CheckDistributor(file);
    const bool isNetwork = m_connector.kind == qxm::ConnectorKind::Network;
    if (!isNetwork)
    {
        CheckBaseFile(file);
        for (const XmlElement& servant : ChildrenOf(file.root, L"Servants"))
            CheckServant(file, servant, qxm::ReadCrashDump(file.root));
    }
    if (std::ranges::any_of(m_findings.problems, &Problem::isError))
        return;
    m_findings.configuration =
        isNetwork ? qxm::Configuration{{}, qxm::ReadDistributor(file.root)} : qxm::ReadConfiguration(file, m_host);
}

ConfigurationFindings Checker::Take()
{
    for (const auto& [name, definition] : m_definitions)
    {
        if (!definition.reason.empty())
            m_findings.withheld.push_back({name, definition.path, definition.position, definition.reason});
    }
    std::ranges::stable_sort(m_findings.problems, {},
        [](const Problem& problem)
        { return std::tuple(problem.path, problem.position.line, problem.position.column); });
    return std::move(m_findings);
}

void Checker::CheckNames(const ConfigurationFile& file)
{
    const XmlElement allowed = ConfigurationTemplate();
    FindStrangers(file.root, allowed,
        [&](const qxm::XmlStranger& stranger)
        {
            const auto& foreign = ForeignNames();
            if (std::ranges::find(foreign, stranger.name) != foreign.end())
                return;
            const bool isReadAnyway =
                !stranger.isAttribute && (stranger.parent.name == L"Servants" || stranger.parent.name == L"Services");
            const std::wstring suggestion = Suggestion(stranger.name, KnownNames(stranger));
            const std::wstring text = (stranger.isAttribute ? L"unknown attribute '" : L"unknown element '")
                + stranger.name + L"' in <" + stranger.parent.name + L">"
                + (isReadAnyway ? L", read as '" + stranger.allowed.children.front().name + L"'" : suggestion);
            // What resembles no known name may be meant for a program that is not known here.
            m_findings.problems.push_back({!isReadAnyway && !suggestion.empty(), file.path, stranger.position, text});
        });
    CheckShape(file, file.root, allowed);
}

void Checker::CheckShape(const ConfigurationFile& file, const XmlElement& element, const XmlElement& allowed)
{
    const bool isForText = allowed.attributes.empty() && allowed.children.empty();
    if (!isForText && !IsBlank(element.text))
        Warning(file, element.PositionInText(0), L"the text in <" + element.name + L"> is ignored");
    for (const XmlElement& child : element.children)
    {
        const XmlElement* const allowedChild = allowed.FirstChild(child.name);
        if (!allowedChild)
            continue;
        if (!MayRepeat(child.name) && element.FirstChild(child.name) != &child)
            Warning(file, child.position, L"only the first <" + child.name + L"> in <" + element.name + L"> counts");
        CheckShape(file, child, *allowedChild);
    }
}

void Checker::CheckDistributor(const ConfigurationFile& file)
{
    const XmlElement* const distributor = file.root.FirstChild(L"Distributor");
    const std::wstring port = distributor ? distributor->AttributeValue(L"ClientPort") : std::wstring();
    if (port.empty())
        return;
    constexpr std::uint32_t highestPort = 65535;
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
        Error(file, distributor->PositionOf(L"ClientPort"),
            L"ClientPort '" + port + L"' is not a port number (1 to " + std::to_wstring(highestPort) + L")");
}

void Checker::CheckBaseFile(const ConfigurationFile& file)
{
    const std::wstring path = qxm::ServiceConfigurationPath(file);
    if (path.empty())
        return;
    ConfigurationFile base;
    try
    {
        base = Try([&] { return ConfigurationFile::Read(path); });
    }
    catch (const qpr::RuntimeError& error) // it cannot be opened
    {
        return Error(file, file.root.PositionOf(L"ServiceConfigurationPath"), qpr::ErrorText(error));
    }
    const XmlElement allowed = qxm::ServiceConfigurationTemplate();
    if (base.root.name.empty())
        return;
    if (base.root.name != allowed.name)
        return Error(
            base, base.root.position, L"Invalid element <" + base.root.name + L">, should be <" + allowed.name + L">");
    FindStrangers(base.root, allowed,
        [&](const qxm::XmlStranger& stranger)
        { Error(base, stranger.position, stranger.ToText() + Suggestion(stranger.name, KnownNames(stranger))); });
    CheckShape(base, base.root, allowed);
    CheckBaseServants(base, qxm::ReadCrashDump(file.root));
}

void Checker::CheckBaseServants(const ConfigurationFile& base, const qxm::CrashDumpSettings& crashDump)
{
    for (const XmlElement& element : ChildrenOf(base.root, L"Servants"))
    {
        if (const auto servant = Try([&] { return qxm::ReadBaseServant(base, element, crashDump); }))
            CheckExecutable(base, element, servant->executablePath);
        for (const XmlElement& service : ChildrenOf(element, L"Services"))
        {
            const std::wstring name = service.AttributeValue(L"Name");
            if (name.empty())
                Error(base, service.position, L"Missing Name attribute in <Service> element");
            else if (const auto earlier = m_definitions.find(name); earlier != m_definitions.end())
                Error(base, service.PositionOf(L"Name"),
                    L"Duplicate service name '" + name + L"', first in " + LineOf(earlier->second.position));
            else
                Define(base, service, {});
        }
    }
}

void Checker::CheckServant(
    const ConfigurationFile& file, const XmlElement& element, const qxm::CrashDumpSettings& crashDump)
{
    const std::wstring reason = CheckRequirements(file, element, L"of its servant");
    const auto servant = Try([&] { return qxm::ReadServant(file, element, crashDump); });
    static const std::vector<std::wstring> platforms = {L"WinX86", L"WinX64"};
    const std::wstring platform = element.AttributeValue(L"TargetPlatform");
    const bool isPlatformKnown = platform.empty() || std::ranges::find(platforms, platform) != platforms.end();
    if (!isPlatformKnown) // the first thing looked at, so that it is the error found
        m_findings.problems.back().text += Suggestion(platform, platforms);

    const qpr::CountedPtr<const qxm::ServantInfo> offering =
        servant ? servant : qpr::CountedPtr<const qxm::ServantInfo>(qpr::MakeCounted<qxm::ServantInfo>());
    const std::vector<XmlElement>& services = ChildrenOf(element, L"Services");
    if (services.empty())
        Warning(file, element.position, L"<Servant> offers no service");
    for (const XmlElement& service : services)
        CheckService(file, service, reason, offering);
    if (servant && reason.empty())
        CheckExecutable(file, element, servant->executablePath);
}

void Checker::CheckService(const ConfigurationFile& file, const XmlElement& element, const std::wstring& servantReason,
    const qpr::CountedPtr<const qxm::ServantInfo>& servant)
{
    const std::wstring ownReason = CheckRequirements(file, element, L"of the service");
    const auto service = Try([&] { return qxm::ReadService(file, element, servant); });
    if (!service)
        return;
    Define(file, element, servantReason.empty() ? ownReason : servantReason);
    CheckFormulas(file, element, *service);
    static const std::vector<std::wstring> modes = {L"none", L"zlib", L"qlz14"};
    const std::wstring& mode = service->compressionMode;
    if (!mode.empty() && std::ranges::find(modes, mode) == modes.end())
        Error(file, element.PositionOf(L"CompressionMode"),
            L"Invalid compression mode string '" + mode + L"'" + Suggestion(mode, modes));
}

/// Why the computer is not fit; empty when it is.
std::wstring Checker::CheckRequirements(const ConfigurationFile& file, const XmlElement& element, const wchar_t* whose)
{
    const XmlElement* const requirements = element.FirstChild(requirementsName);
    const std::wstring name = std::wstring(requirementsName) + L" " + whose;
    try
    {
        return EvaluateHostRequirements(element, m_host) ? std::wstring() : name + L" are not met";
    }
    catch (const qexpr::ParseError& error)
    {
        Error(file, requirements->PositionInText(error.GetIndex()), error.GetReason() + L" in HostRequirements");
    }
    catch (const qexpr::MissingVariableError& error)
    {
        Error(file, requirements->PositionInText(0),
            L"unknown variable '" + error.GetName() + L"' in HostRequirements"
                + Suggestion(error.GetName(), {L"HostName", L"CpuInfo", L"ProcessorCount", L"PhysicalMemorySizeInMB"}));
    }
    catch (const std::exception& error)
    {
        Error(file, requirements->PositionInText(0), qpr::ErrorText(error) + L" in HostRequirements");
    }
    return name + L" cannot be evaluated";
}

void Checker::CheckFormulas(
    const ConfigurationFile& file, const XmlElement& element, const qxm::LocalServiceInfo& service)
{
    const auto checked = qpr::MakeCounted<qxm::LocalServiceInfo>(service.servant);
    checked->name = service.name;
    checked->expectedProcessorUsage = service.expectedProcessorUsage;
    checked->expectedMemoryUsageInMB = service.expectedMemoryUsageInMB;
    checked->expectedResourceUsageHelpers = service.expectedResourceUsageHelpers;
    bool isComplete = true;
    const auto complete = [&](std::wstring& text, const wchar_t* missing)
    {
        if (!text.empty())
            return;
        isComplete = false;
        text = L"0"; // in its place, so that the others are compiled all the same
        for (const wchar_t* name : formulaNames)
        {
            const XmlElement* const other = element.FirstChild(name);
            if (other && !other->text.empty())
                Warning(file, other->position,
                    L"<" + other->name + L"> has no effect without <" + std::wstring(missing) + L">");
        }
    };
    complete(checked->expectedProcessorUsage, L"ExpectedProcessorUsage");
    complete(checked->expectedMemoryUsageInMB, L"ExpectedMemoryUsageInMB");
    // Each round compiles one formula further: what fails is reported and left out.
    for (;;)
    {
        try
        {
            const auto model = qxm::UsageModel::Build(*checked);
            for (const auto& [name, type] : model->NeededAttributes())
            {
                if (const auto meant = qpr::NearestName(name, std::vector<std::wstring>{L"ProcessorCount"}))
                    Warning(file, element.position,
                        L"attribute '" + name + L"' of service '" + service.name + L"'; did you mean '" + *meant
                            + L"'?");
            }
            if (isComplete && model->NeededAttributes().empty())
                CheckValues(file, element, *checked);
            return;
        }
        catch (const std::exception& error)
        {
            const XmlElement* const formula = ReportFormula(file, element, error);
            if (!formula || formula->name == formulaNames[0])
                return;
            isComplete = false;
            (formula->name == formulaNames[1] ? checked->expectedProcessorUsage : checked->expectedMemoryUsageInMB) =
                L"0";
        }
    }
}

/// Of formulas that need no attributes.
void Checker::CheckValues(
    const ConfigurationFile& file, const XmlElement& element, const qxm::LocalServiceInfo& service)
{
    try
    {
        qxm::ComputeExpectedUsage(service, {}, m_limits, m_connector.localExecution.maxLocalServants);
    }
    catch (const std::exception& error)
    {
        ReportFormula(file, element, error);
    }
}

const XmlElement* Checker::ReportFormula(
    const ConfigurationFile& file, const XmlElement& service, const std::exception& error)
{
    const std::wstring text = qpr::ErrorText(error);
    for (const wchar_t* name : formulaNames)
    {
        const XmlElement* const formula = service.FirstChild(name);
        if (!formula || !text.starts_with(std::wstring(name) + L" of service"))
            continue;
        const auto* const parseError = dynamic_cast<const qexpr::ParseError*>(&error);
        if (parseError)
            Error(file, formula->PositionInText(parseError->GetIndex()), parseError->GetReason() + L" in " + name);
        else
            Error(file, formula->PositionInText(0), text);
        return formula;
    }
    Error(file, service.position, text);
    return nullptr;
}

void Checker::CheckExecutable(const ConfigurationFile& file, const XmlElement& element, const std::wstring& path)
{
    const XmlPosition position = element.PositionOf(L"RelativePath");
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(qpr::ToFilesystemPath(path), failure);
    constexpr auto anybody =
        std::filesystem::perms::owner_exec | std::filesystem::perms::group_exec | std::filesystem::perms::others_exec;
    const std::wstring servant = L"servant '" + path + L"' ";
    if (!std::filesystem::exists(status))
        Error(file, position, servant + L"does not exist");
    else if (!std::filesystem::is_regular_file(status))
        Error(file, position, servant + L"is not a file");
    else if ((status.permissions() & anybody) == std::filesystem::perms::none)
        Error(file, position, servant + L"has no execute permission");
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
            Warning(
                file, position, L"service '" + name + L"' is not for this computer and takes back that in " + place);
        else if (isSameFile)
            Warning(file, position, L"service '" + name + L"' takes the place of that in " + place);
    }
    m_definitions.insert_or_assign(name, Definition{file.path, position, std::move(reason)});
}

} // namespace

ConfigurationFindings CheckConfiguration(const qxm::ConnectorConfiguration& connector)
{
    Checker checker(connector);
    checker.Run();
    return checker.Take();
}

} // namespace qx
