#pragma once

#include "config/HostDescription.h"
#include "protocol/ServiceRequestAttributes.h"
#include "runtime/channels/Socket.h"
#include "runtime/channels/SocketAddress.h"

#include <optional>
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

/// The distributor's answer to a request that it will serve.
inline constexpr wchar_t serviceRequestAcceptedLine[] = L"service request accepted";

/// How it then tells the port of the log connection; the port follows.
inline constexpr wchar_t logPortLinePrefix[] = L"establish log connection to port ";

/// What separates a log from how its servant ended, which follows as "exit <code>" or "signal <number>" and a line
/// feed: a byte that no UTF-8 text has.
inline constexpr char servantEndMark = '\xFF';

/// The request as its line, without the line end. Throws "Invalid service name '<name>'" for one that cannot be written
/// as a word of a line, and what serialising the attributes throws.
std::wstring BuildServiceRequestLine(const DistributorServiceRequest& request);

/// Connects, exchanges host descriptions, logs in and sends the request; the socket, which is created here, is then
/// connected and the request accepted. The servant's end is asked for where it is offered, which the result tells.
/// Every failure reads "Error sending service request to distributor at <address>: <what>".
bool SendServiceRequest(qpr::Socket& socket, const qpr::SocketAddress& distributor, DistributorServiceRequest request,
    const std::wstring& clientLine, const qpr::Wait& wait);

/// One call's way through a distributor, from connecting to the two connections over which it talks to its servant.
/// Used by the call's thread alone; every step ends at once when the wait does or when the give-up object is signalled.
///
///     DistributorRequest request(host, port, what, client.Write(), cancellation, switchEvent.Object());
///     if (!request.WaitUntilReady())
///         return RunLocally();
///     Converse(request.MainSocket(), request.LogSocket());
class DistributorRequest
{
public:
    /// The client's line is its host description. What the wait watches and what the give-up object names outlive the
    /// request.
    DistributorRequest(std::wstring distributorHost, std::wstring distributorPort, DistributorServiceRequest request,
        std::wstring clientLine, qpr::Wait wait, std::optional<qpr::WaitObject> giveUpObject = std::nullopt);

    /// Sends the request and waits until it is accepted and a servant is there; then opens the log connection and sets
    /// both connections up for a servant's data. False when the give-up object was signalled first; the connections
    /// are then closed. Throws what SocketAddress::Resolve and SendServiceRequest throw, and "Expected 'establish log
    /// connection to port <log port>' but got '<line>'", also when the distributor says something else while the log
    /// connection is being made.
    bool WaitUntilReady();

    /// Requires: ready. Whether the log is followed by how the servant ended.
    bool TellsServantEnd() const noexcept { return m_tellsServantEnd; }

    qpr::Socket& MainSocket() noexcept { return m_mainSocket; }
    qpr::Socket& LogSocket() noexcept { return m_logSocket; }

private:
    void Open(const qpr::Wait& wait);
    void OpenLogConnection(const qpr::Wait& wait);

    std::wstring m_distributorHost;
    std::wstring m_distributorPort;
    DistributorServiceRequest m_request;
    std::wstring m_clientLine;
    const qpr::Wait m_wait;
    std::optional<qpr::WaitObject> m_giveUpObject;
    qpr::Socket m_mainSocket;
    qpr::Socket m_logSocket;
    bool m_tellsServantEnd = false;
};

} // namespace qxm
