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

} // namespace qxm
