#pragma once

#include "config/HostDescription.h"
#include "protocol/ServiceRequestAttributes.h"
#include "runtime/channels/Socket.h"
#include "runtime/channels/SocketAddress.h"

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
    bool servantEnd = false; ///< whether the log is followed by how the servant ended; of distributors that offer it
};

/// What a distributor can do beyond the given lines, it says in its identifier: "<host>/<pid>/end". A client asks for
/// it only there.
inline constexpr wchar_t servantEndExtension[] = L"end";

/// How long connecting may take.
inline constexpr std::uint32_t connectTimeMs = 10000;

/// The distributor's answer to a request that it will serve.
inline constexpr wchar_t serviceRequestAcceptedLine[] = L"service request accepted";

/// How the two sides introduce themselves, which is the same for each call: the client's line is made once, the
/// distributor's parsed when it is another. Any thread may use it.
class Introductions
{
public:
    explicit Introductions(const HostDescription& client)
        : m_clientLine(client.Write())
    {
    }

    const std::wstring& ClientLine() const noexcept { return m_clientLine; }
    HostDescription ReadDistributor(std::wstring_view line) { return m_distributors.Read(line); }

private:
    const std::wstring m_clientLine;
    HostDescriptionMemo m_distributors{L"distributor"};
};

/// The request as its line, without the line end. Throws "Invalid service name '<name>'" for one that cannot be written
/// as a word of a line, and what serialising the attributes throws.
std::wstring BuildServiceRequestLine(const DistributorServiceRequest& request);

/// Connects, exchanges host descriptions, logs in and sends the request; the socket, which is created here, is then
/// connected and the request accepted. The servant's end is asked for where it is offered, which the result tells.
/// Every failure reads "Error sending service request to distributor at <address>: <what>".
bool SendServiceRequest(qpr::Socket& socket, const qpr::SocketAddress& distributor, DistributorServiceRequest request,
    Introductions& introductions, const qpr::Wait& wait);

} // namespace qxm
