#include "distributor/ServiceCatalogue.h"

#include "config/XmlDocument.h"
#include "runtime/Errors.h"
#include "runtime/InputFile.h"

namespace qxd
{
namespace
{

using qxm::CompressionMode;
using qxm::XmlElement;

CompressionMode ParseCompressionMode(const std::wstring& text)
{
    for (const CompressionMode mode : {CompressionMode::None, CompressionMode::Zlib, CompressionMode::Qlz14})
    {
        if (text == qxm::CompressionModeName(mode))
            return mode;
    }
    throw qpr::RuntimeError(L"Invalid compression mode string '" + text + L"'");
}

XmlElement ReadRoot(const std::wstring& path)
{
    std::ifstream file = qpr::OpenInputFile(path);
    return qxm::XmlDocument::Read(file, L"configuration file '" + path + L"'").root;
}

/// Calls visit(service element) for each service of the file, in document order.
template <class Visitor>
void ForEachService(const XmlElement& root, Visitor&& visit)
{
    const XmlElement* const servants = root.FirstChild(L"Servants");
    if (!servants)
        return;
    for (const XmlElement& servant : servants->children)
    {
        if (const XmlElement* const services = servant.FirstChild(L"Services"))
        {
            for (const XmlElement& service : services->children)
                visit(service);
        }
    }
}

} // namespace

ServiceCatalogue::ServiceCatalogue(const std::wstring& configurationPath, const qxm::HostDescription& localHost)
{
    const qxm::Configuration configuration = qxm::ReadConfiguration(configurationPath, localHost);
    m_distributor = configuration.distributor;
    for (const auto& [name, info] : configuration.services)
        m_services[name] = {info};

    // Of services with one name the last one counts, as it does for all else that is said of them.
    ForEachService(ReadRoot(configurationPath),
        [this](const XmlElement& service)
        {
            const std::wstring text = service.AttributeValue(L"CompressionMode");
            const CompressionMode mode = text.empty() ? CompressionMode::None : ParseCompressionMode(text);
            const auto found = m_services.find(service.AttributeValue(L"Name"));
            if (found != m_services.end())
                found->second.compressionMode = mode;
        });
}

const OfferedService& ServiceCatalogue::Find(const std::wstring& name) const
{
    const auto found = m_services.find(name);
    if (found == m_services.end())
        throw qpr::RuntimeError(L"Service '" + name + L"' not available on distributor");
    return found->second;
}

} // namespace qxd
