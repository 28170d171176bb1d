#include "config/ServantsReader.h"

#include "expr/Evaluator.h"
#include "runtime/channels/FilePath.h"
#include "runtime/text/Errors.h"
#include "runtime/text/TextValues.h"

namespace qxm
{

namespace
{

constexpr std::uint64_t addressSpace32BitInMB = 2048;
constexpr std::uint64_t largeAddressSpace32BitInMB = 4096;
constexpr std::uint64_t addressSpace64BitInMB = 8388608;

/// Whether the servant is a 32-bit one.
bool ParseTargetPlatform(const XmlElement& element)
{
    const std::wstring platform = element.AttributeValue(L"TargetPlatform");
    if (platform.empty() || platform == L"WinX86")
        return true;
    if (platform == L"WinX64")
        return false;
    throw qpr::RuntimeError(L"Invalid target platform string '" + platform + L"'");
}

std::uint64_t AddressSpaceInMB(const XmlElement& element, bool is32Bit)
{
    if (!is32Bit)
        return addressSpace64BitInMB;
    const std::wstring isLarge = element.AttributeValue(L"IsLargeAddressAware");
    return !isLarge.empty() && qpr::ParseBool(isLarge, L"IsLargeAddressAware") ? largeAddressSpace32BitInMB
                                                                               : addressSpace32BitInMB;
}

qexpr::ValueMap HostVariables(const HostDescription& host)
{
    return {
        {L"HostName", qexpr::Value(host.hostName)},
        {L"CpuInfo", qexpr::Value(host.cpuInfo)},
        {L"ProcessorCount", qexpr::Value(static_cast<float>(host.cpuCount))},
        {L"PhysicalMemorySizeInMB", qexpr::Value(static_cast<float>(host.memorySizeInMB))},
    };
}

/// Requirements whose formula fails count as not met, without an error: a configuration shared by many computers may
/// use formulas that make sense on some of them only.
bool MeetsHostRequirements(const XmlElement& element, const HostDescription& host)
{
    try
    {
        return EvaluateHostRequirements(element, host);
    }
    catch (const std::exception&)
    {
        return false;
    }
}

} // namespace

bool EvaluateHostRequirements(const XmlElement& element, const HostDescription& host)
{
    const std::wstring formula = element.ChildText(L"HostRequirements");
    if (formula.empty())
        return true;
    qexpr::Evaluator evaluator;
    const auto expression = evaluator.ParseExpression(formula,
        L"HostRequirements of " + element.name + L" '" + element.AttributeValue(L"Name") + L"'",
        qexpr::Value::Type_Bool);
    return static_cast<bool>(evaluator.Evaluate(*expression, HostVariables(host)));
}

CrashDumpSettings ReadCrashDump(const XmlElement& root)
{
    const XmlElement* const system = root.FirstChild(L"System");
    const XmlElement* const crashDump = system ? system->FirstChild(L"CrashDump") : nullptr;
    if (!crashDump)
        return {};
    return {crashDump->AttributeValue(L"Flags"), crashDump->AttributeValue(L"Directory")};
}

const std::vector<XmlElement>& ChildrenOf(const XmlElement& parent, const wchar_t* container)
{
    static const std::vector<XmlElement> none;
    const XmlElement* element = parent.FirstChild(container);
    return element ? element->children : none;
}

qpr::CountedPtr<ServantInfo> ReadBaseServant(
    const ConfigurationFile& file, const XmlElement& element, const CrashDumpSettings& crashDump)
{
    constexpr wchar_t pathName[] = L"RelativePath";
    const std::wstring relativePath = element.AttributeValue(pathName);
    if (relativePath.empty())
        file.Fail(element, pathName, L"Missing RelativePath attribute in <Servant> element");
    if (qpr::IsAbsolutePath(relativePath))
        file.Fail(element, pathName, L"<Servant RelativePath='" + relativePath + L"'> must be a relative path");

    auto servant = qpr::MakeCounted<ServantInfo>();
    servant->crashDumpFlags = crashDump.flags;
    servant->crashDumpDirectory = crashDump.directory;
    servant->executablePath = qpr::FullPath(qpr::JoinPath(file.Directory(), qpr::WithNativeSeparators(relativePath)));
    return servant;
}

qpr::CountedPtr<const ServantInfo> ReadServant(
    const ConfigurationFile& file, const XmlElement& element, const CrashDumpSettings& crashDump)
{
    const bool is32Bit = file.At(element, L"TargetPlatform", [&] { return ParseTargetPlatform(element); });
    const auto servant = ReadBaseServant(file, element, crashDump);
    servant->is32Bit = is32Bit;
    servant->addressSpaceInMB =
        file.At(element, L"IsLargeAddressAware", [&] { return AddressSpaceInMB(element, is32Bit); });
    const std::wstring version = element.AttributeValue(L"QxServantLibraryVersion");
    if (!version.empty())
        servant->libraryVersion = file.At(
            element, L"QxServantLibraryVersion", [&] { return Version::Parse(version, L"QxServantLibraryVersion"); });
    return servant;
}

qpr::CountedPtr<const LocalServiceInfo> ReadService(
    const ConfigurationFile& file, const XmlElement& element, const qpr::CountedPtr<const ServantInfo>& servant)
{
    const auto service = qpr::MakeCounted<LocalServiceInfo>(servant);
    service->name = element.AttributeValue(L"Name");
    if (service->name.empty())
        file.Fail(element, L"Name", L"Missing 'Name' attribute in <Service> element");
    service->expectedProcessorUsage = element.ChildText(L"ExpectedProcessorUsage");
    service->expectedMemoryUsageInMB = element.ChildText(L"ExpectedMemoryUsageInMB");
    service->expectedResourceUsageHelpers = element.ChildText(L"ExpectedResourceUsageHelpers");
    service->compressionMode = element.AttributeValue(L"CompressionMode");
    return service;
}

void ReadServants(const ConfigurationFile& file, const CrashDumpSettings& crashDump, const HostDescription& localHost,
    ServicesMap& services)
{
    for (const XmlElement& servantElement : ChildrenOf(file.root, L"Servants"))
    {
        // A servant that cannot run here is still checked.
        const bool hostIsFit = MeetsHostRequirements(servantElement, localHost);
        const auto servant = ReadServant(file, servantElement, crashDump);
        for (const XmlElement& serviceElement : ChildrenOf(servantElement, L"Services"))
        {
            auto service = ReadService(file, serviceElement, servant);
            if (hostIsFit && MeetsHostRequirements(serviceElement, localHost))
                services[service->name] = service;
            else
                services.erase(service->name);
        }
    }
}

void ReadBaseServants(const ConfigurationFile& file, const CrashDumpSettings& crashDump, ServicesMap& services)
{
    for (const XmlElement& servantElement : ChildrenOf(file.root, L"Servants"))
    {
        const qpr::CountedPtr<const ServantInfo> servant = ReadBaseServant(file, servantElement, crashDump);
        for (const XmlElement& serviceElement : ChildrenOf(servantElement, L"Services"))
        {
            const auto service = qpr::MakeCounted<LocalServiceInfo>(servant);
            service->name = serviceElement.AttributeValue(L"Name");
            if (service->name.empty())
                file.Fail(serviceElement, L"Name", L"Missing Name attribute in <Service> element");
            if (!services.emplace(service->name, service).second)
                file.Fail(serviceElement, L"Name", L"Duplicate service name '" + service->name + L"'");
        }
    }
}

} // namespace qxm
