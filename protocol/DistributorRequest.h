#pragma once

#include "protocol/DistributorConversation.h"

#include <optional>

namespace qxm
{

/// One call's way through a distributor, from connecting to the two connections over which it talks to its servant.
/// Used by the call's thread alone; every step (resolving the host aside) ends at once when the wait does, and up
/// to the readiness also when the give-up object is signalled.
///
///     DistributorRequest request(host, port, what, introductions, cancellation, switchEvent.Object());
///     if (!request.WaitUntilReady())
///         return RunLocally();
///     request.OpenLogConnection();
///     Converse(request.MainSocket(), request.LogSocket());
class DistributorRequest
{
public:
    /// The introductions, what the wait watches and what the give-up object names outlive the request.
    DistributorRequest(std::wstring distributorHost, std::wstring distributorPort, DistributorServiceRequest request,
        Introductions& introductions, qpr::Wait wait, std::optional<qpr::WaitObject> giveUpObject = std::nullopt);

    /// Sends the request and waits until it is accepted and the log-port line has begun to arrive: a servant is there.
    /// False when the give-up object was signalled first; the connection is then closed. Throws what
    /// SocketAddress::Resolve and SendServiceRequest throw, and what a log-port line that never came is reported with.
    bool WaitUntilReady();

    /// Requires: ready. Sets both connections up for a servant's data: their buffers, and keep-alive.
    void OpenLogConnection();

    qpr::Socket& MainSocket() noexcept { return m_mainSocket; }
    qpr::Socket& LogSocket() noexcept { return m_logSocket; }

private:
    std::wstring m_distributorHost;
    std::wstring m_distributorPort;
    DistributorServiceRequest m_request;
    Introductions& m_introductions; // not owned
    const qpr::Wait m_wait;
    std::optional<qpr::WaitObject> m_giveUpObject;
    qpr::Socket m_mainSocket;
    qpr::Socket m_logSocket;
};

} // namespace qxm
