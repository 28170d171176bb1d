#pragma once

#include "config/ExpectedUsage.h"
#include "distributor/ServiceCatalogue.h"
#include "distributor/SessionSurroundings.h"
#include "protocol/ServiceRequestAttributes.h"
#include "runtime/channels/Socket.h"

#include <string>
#include <string_view>
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

/// A client's request line, understood.
struct CallRequest
{
    std::wstring serviceName;
    qxm::ServiceRequestAttributes attributes;
    bool loopbackAllowed = true;
    bool logServiceExecutionInfo = false;
    bool servantEnd = false; ///< whether the log is to be followed by how the servant ended

    /// Throws a RuntimeError that says what is wrong with the line.
    static CallRequest Parse(std::wstring_view line);
};

/// Leads one client from its greeting to a request that can be accepted, all of it within a bounded time. Throws what
/// is wrong with the client or its request, after having told it.
CallOrder ReceiveCall(qpr::Socket& client, const SessionSurroundings& surroundings);

} // namespace qxd
