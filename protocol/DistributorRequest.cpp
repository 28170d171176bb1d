#include "protocol/DistributorRequest.h"

#include "protocol/LogConnection.h"
#include "runtime/Cancellation.h"
#include "runtime/EagerWaiter.h"
#include "runtime/Errors.h"
#include "runtime/Thread.h"

#include <utility>
#include <vector>

namespace qxm
{
namespace
{

constexpr std::uint32_t servantBufferSize = 65536;

/// Deliberately no std::exception, so that nothing on the way takes it for an error.
class GivenUp
{
};

/// Waits as a cancellable operation does, and throws GivenUp when the give-up object is signalled.
class GiveUpWaiter final : public qpr::IWaiter
{
public:
    GiveUpWaiter(const qpr::Cancellation* cancellation, const std::optional<qpr::WaitObject>& giveUpObject)
        : m_cancellation(cancellation)
        , m_giveUpObject(giveUpObject)
        , m_cancellable(cancellation)
    {
    }

    /// The give-up object too: bytes that trickle in are found without a wait.
    void Check() const override
    {
        constexpr bool timeoutsAllowed = true;
        m_cancellable.Check();
        if (m_giveUpObject
            && qpr::Thread::WaitForObject(*m_giveUpObject, L"qxm::GiveUpWaiter::Check", 0, timeoutsAllowed))
            throw GivenUp();
    }

    void WaitFor(const qpr::WaitObject& object, const wchar_t* location) const override
    {
        if (!m_giveUpObject)
            return m_cancellable.WaitFor(object, location);
        std::vector<qpr::WaitObject> objects = {*m_giveUpObject, object};
        if (m_cancellation)
            objects.push_back(m_cancellation->Object());
        const int signalled = qpr::Thread::WaitForAnyObject(objects, location);
        m_cancellable.Check();
        if (signalled == 0)
            throw GivenUp();
    }

private:
    const qpr::Cancellation* m_cancellation; // not owned, may be null
    const std::optional<qpr::WaitObject>& m_giveUpObject; // not owned
    qpr::CancellableWaiter m_cancellable;
};

} // namespace

DistributorRequest::DistributorRequest(std::wstring distributorHost, std::wstring distributorPort,
    DistributorServiceRequest request, Introductions& introductions, const qpr::Cancellation* cancellation,
    std::optional<qpr::WaitObject> giveUpObject)
    : m_distributorHost(std::move(distributorHost))
    , m_distributorPort(std::move(distributorPort))
    , m_request(std::move(request))
    , m_introductions(introductions)
    , m_cancellation(cancellation)
    , m_giveUpObject(giveUpObject)
{
}

bool DistributorRequest::WaitUntilReady()
{
    const GiveUpWaiter giveUpWaiter(m_cancellation, m_giveUpObject);
    const qpr::EagerWaiter waiter(giveUpWaiter);
    const qpr::SocketAddress address = qpr::SocketAddress::Resolve(m_distributorHost, m_distributorPort);
    try
    {
        SendServiceRequest(m_mainSocket, address, m_request, m_introductions, waiter);
        m_mainSocket.WaitForInput(waiter);
    }
    catch (const GivenUp&)
    {
        m_mainSocket.Close();
        return false;
    }
    if (m_mainSocket.HasInputEnded())
        throw qpr::RuntimeError(L"Expected 'establish log connection to port <log port>' but got ''");
    return true;
}

void DistributorRequest::OpenLogConnection()
{
    qxm::OpenLogConnection(m_mainSocket, m_logSocket, qpr::CancellableWaiter(m_cancellation));
    m_mainSocket.SetReceiveBufferSize(servantBufferSize);
    m_mainSocket.SetSendBufferSize(servantBufferSize);
    m_logSocket.SetReceiveBufferSize(servantBufferSize);
    m_logSocket.EnableKeepAlive();
}

} // namespace qxm
