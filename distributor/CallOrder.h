#pragma once

#include "config/ExpectedUsage.h"
#include "distributor/ServiceCatalogue.h"
#include "protocol/ServiceRequestAttributes.h"

#include <string>
#include <vector>

namespace qxd
{

/// A call that the distributor has accepted.
struct CallOrder
{
    const OfferedService& service; ///< the catalogue's, which outlives all calls
    qxm::ServiceRequestAttributes attributes;
    std::wstring clientIdentifier;
    qxm::ExpectedUsage expectedUsage;
    bool logServiceExecutionInfo = false;
    bool servantEnd = false;

    std::vector<std::wstring> ServantCommandLine() const;
};

} // namespace qxd
