#include "distributor/ServiceCatalogue.h"

#include "runtime/text/Errors.h"

namespace qxd
{
namespace
{

using qxm::CompressionMode;

CompressionMode ParseCompressionMode(const std::wstring& text)
{
    if (text.empty())
        return CompressionMode::None;
    for (const CompressionMode mode : {CompressionMode::None, CompressionMode::Zlib, CompressionMode::Qlz14})
    {
        if (text == qxm::CompressionModeName(mode))
            return mode;
    }
    throw qpr::RuntimeError(L"Invalid compression mode string '" + text + L"'");
}

} // namespace

ServiceCatalogue::ServiceCatalogue(const std::wstring& configurationPath, const qxm::HostDescription& localHost)
{
    const qxm::Configuration configuration = qxm::ReadConfiguration(configurationPath, localHost);
    m_distributor = configuration.distributor;
    for (const auto& [name, info] : configuration.services)
        m_services[name] = {info, ParseCompressionMode(info->compressionMode)};
}

const OfferedService& ServiceCatalogue::Find(const std::wstring& name) const
{
    const auto found = m_services.find(name);
    if (found == m_services.end())
        throw qpr::RuntimeError(L"Service '" + name + L"' not available on distributor");
    return found->second;
}

} // namespace qxd
