#pragma once

#include "protocol/DistributorConversation.h"

#include <optional>

namespace qxm
{

/// One call's way through a distributor, from connecting to the two connections over which it talks to its servant.
/// Used by the call's thread alone; every step ends at once when the wait does or when the give-up object is signalled.
///
///     DistributorRequest request(host, port, what, introductions, cancellation, switchEvent.Object());
///     if (!request.WaitUntilReady())
///         return RunLocally();
///     Converse(request.MainSocket(), request.LogSocket());
class DistributorRequest
{
public:
    /// The introductions, what the wait watches and what the give-up object names outlive the request.
    DistributorRequest(std::wstring distributorHost, std::wstring distributorPort, DistributorServiceRequest request,
        Introductions& introductions, qpr::Wait wait, std::optional<qpr::WaitObject> giveUpObject = std::nullopt);

    /// Sends the request and waits until it is accepted and a servant is there; then opens the log connection and sets
    /// both connections up for a servant's data. False when the give-up object was signalled first; the connections
    /// are then closed. Throws what SocketAddress::Resolve, SendServiceRequest and OpenLogConnection throw.
    bool WaitUntilReady();

    /// Requires: ready. Whether the log is followed by how the servant ended.
    bool TellsServantEnd() const noexcept { return m_tellsServantEnd; }

    qpr::Socket& MainSocket() noexcept { return m_mainSocket; }
    qpr::Socket& LogSocket() noexcept { return m_logSocket; }

private:
    void Open(const qpr::Wait& wait);

    std::wstring m_distributorHost;
    std::wstring m_distributorPort;
    DistributorServiceRequest m_request;
    Introductions& m_introductions; // not owned
    const qpr::Wait m_wait;
    std::optional<qpr::WaitObject> m_giveUpObject;
    qpr::Socket m_mainSocket;
    qpr::Socket m_logSocket;
    bool m_tellsServantEnd = false;
};

} // namespace qxm
