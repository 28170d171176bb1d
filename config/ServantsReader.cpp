#include "config/ServantsReader.h"

#include "config/HostRequirements.h"
#include "runtime/Errors.h"
#include "runtime/FilePath.h"
#include "runtime/TextValues.h"

namespace qxm
{

namespace
{

constexpr std::uint64_t addressSpace32BitInMB = 2048;
constexpr std::uint64_t largeAddressSpace32BitInMB = 4096;
constexpr std::uint64_t addressSpace64BitInMB = 8388608;

const std::vector<XmlElement>& ChildrenOf(const XmlElement& parent, const wchar_t* container)
{
    static const std::vector<XmlElement> none;
    const XmlElement* element = parent.FirstChild(container);
    return element ? element->children : none;
}

qpr::CountedPtr<ServantInfo> MakeServant(
    const XmlElement& element, const std::wstring& directory, const CrashDumpSettings& crashDump)
{
    const std::wstring relativePath = element.AttributeValue(L"RelativePath");
    if (relativePath.empty())
        throw qpr::RuntimeError(L"Missing RelativePath attribute in <Servant> element");
    if (qpr::IsAbsolutePath(relativePath))
        throw qpr::RuntimeError(L"<Servant RelativePath='" + relativePath + L"'> must be a relative path");

    auto servant = qpr::MakeCounted<ServantInfo>();
    servant->crashDumpFlags = crashDump.flags;
    servant->crashDumpDirectory = crashDump.directory;
    servant->executablePath = qpr::FullPath(qpr::JoinPath(directory, qpr::WithNativeSeparators(relativePath)));
    return servant;
}

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

qpr::CountedPtr<const ServantInfo> ReadServant(
    const XmlElement& element, const std::wstring& directory, const CrashDumpSettings& crashDump)
{
    const bool is32Bit = ParseTargetPlatform(element);
    const auto servant = MakeServant(element, directory, crashDump);
    servant->is32Bit = is32Bit;
    servant->addressSpaceInMB = AddressSpaceInMB(element, is32Bit);
    const std::wstring version = element.AttributeValue(L"QxServantLibraryVersion");
    if (!version.empty())
        servant->libraryVersion = Version::Parse(version, L"QxServantLibraryVersion");
    return servant;
}

qpr::CountedPtr<const LocalServiceInfo> ReadService(
    const XmlElement& element, const qpr::CountedPtr<const ServantInfo>& servant)
{
    const auto service = qpr::MakeCounted<LocalServiceInfo>(servant);
    service->name = element.AttributeValue(L"Name");
    if (service->name.empty())
        throw qpr::RuntimeError(L"Missing 'Name' attribute in <Service> element");
    service->expectedProcessorUsage = element.ChildText(L"ExpectedProcessorUsage");
    service->expectedMemoryUsageInMB = element.ChildText(L"ExpectedMemoryUsageInMB");
    service->expectedResourceUsageHelpers = element.ChildText(L"ExpectedResourceUsageHelpers");
    return service;
}

} // namespace

void ReadServants(const XmlElement& root, const std::wstring& directory, const CrashDumpSettings& crashDump,
    const HostDescription& localHost, ServicesMap& services)
{
    for (const XmlElement& servantElement : ChildrenOf(root, L"Servants"))
    {
        // A servant that cannot run here is still checked.
        const bool hostIsFit = MeetsHostRequirements(servantElement, localHost);
        const auto servant = ReadServant(servantElement, directory, crashDump);
        for (const XmlElement& serviceElement : ChildrenOf(servantElement, L"Services"))
        {
            auto service = ReadService(serviceElement, servant);
            if (hostIsFit && MeetsHostRequirements(serviceElement, localHost))
                services[service->name] = service;
            else
                services.erase(service->name);
        }
    }
}

void ReadBaseServants(
    const XmlElement& root, const std::wstring& directory, const CrashDumpSettings& crashDump, ServicesMap& services)
{
    for (const XmlElement& servantElement : ChildrenOf(root, L"Servants"))
    {
        const qpr::CountedPtr<const ServantInfo> servant = MakeServant(servantElement, directory, crashDump);
        for (const XmlElement& serviceElement : ChildrenOf(servantElement, L"Services"))
        {
            const auto service = qpr::MakeCounted<LocalServiceInfo>(servant);
            service->name = serviceElement.AttributeValue(L"Name");
            if (service->name.empty())
                throw qpr::RuntimeError(L"Missing Name attribute in <Service> element");
            if (!services.emplace(service->name, service).second)
                throw qpr::RuntimeError(L"Duplicate service name '" + service->name + L"'");
        }
    }
}

} // namespace qxm
