#include "config/ServiceInfo.h"

#include "config/UsageModel.h"

#include <utility>

namespace qxm
{

LocalServiceInfo::LocalServiceInfo(qpr::CountedPtr<const ServantInfo> servantInfo)
    : servant(std::move(servantInfo))
{
}

LocalServiceInfo::~LocalServiceInfo() = default;

const UsageModel* LocalServiceInfo::Usage() const
{
    const qpr::ScopedLock lock(m_usageLock);
    if (!m_usage)
        m_usage = UsageModel::Build(*this);
    return m_usage.get();
}

} // namespace qxm
