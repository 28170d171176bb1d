#pragma once

#include "config/Configuration.h"
#include "config/ExpectedUsage.h"
#include "protocol/CompressionMode.h"
#include "protocol/ServiceRequestAttributes.h"

#include <map>
#include <string>

namespace qxd
{

/// A service as the distributor offers it.
struct OfferedService
{
    qpr::CountedPtr<const qxm::LocalServiceInfo> info; ///< sessions refer to it and take no references of their own
    qxm::CompressionMode compressionMode = qxm::CompressionMode::None;
};

/// The services of a configuration file with what only a distributor reads of them. Never changed once read; any thread
/// may ask.
class ServiceCatalogue
{
public:
    /// Throws a RuntimeError that names what is wrong with the file, "Invalid compression mode string '<text>'" of an
    /// offered service included.
    ServiceCatalogue(const std::wstring& configurationPath, const qxm::HostDescription& localHost);

    const qxm::DistributorSettings& Distributor() const noexcept { return m_distributor; }

    /// Throws "Service '<name>' not available on distributor".
    const OfferedService& Find(const std::wstring& name) const;

private:
    qxm::DistributorSettings m_distributor;
    std::map<std::wstring, OfferedService> m_services;
};

} // namespace qxd
