#pragma once

#include "config/HostDescription.h"
#include "protocol/ServiceRequestAttributes.h"
#include "runtime/IWaiter.h"
#include "runtime/Socket.h"
#include "runtime/SocketAddress.h"

#include <string>

/// The client's side of the conversation with a distributor, on the call's own thread.
namespace qxm
{

/// What a client asks a distributor for.
struct DistributorServiceRequest
{
    std::wstring serviceName;
    ServiceRequestAttributes attributes;
    bool loopbackAllowed = true; ///< whether a servant on the client's own computer will do
    bool logServiceExecutionInfo = false;
};

/// The distributor's answer to a request that it will serve.
inline constexpr wchar_t serviceRequestAcceptedLine[] = L"service request accepted";

/// The request as its line, without the line end. Throws "Invalid service name '<name>'" for one that cannot be written
/// as a word of a line, and what serialising the attributes throws.
std::wstring BuildServiceRequestLine(const DistributorServiceRequest& request);

/// Connects, exchanges host descriptions, logs in and sends the request; the socket, which is created here, is then
/// connected and the request accepted. Every failure reads "Error sending service request to distributor at <address>:
/// <what>".
void SendServiceRequest(qpr::Socket& socket, const qpr::SocketAddress& distributor,
    const DistributorServiceRequest& request, const HostDescription& client, const qpr::IWaiter& waiter);

} // namespace qxm
