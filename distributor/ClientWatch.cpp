#include "distributor/ClientWatch.h"

#include "runtime/Cancellation.h"

namespace qxd
{

ClientWatch::ClientWatch(const qpr::Socket& logSocket, qpr::Cancellation& cancellation)
    : m_logSocket(logSocket)
    , m_cancellation(cancellation)
    , m_thread(*this)
{
}

void ClientWatch::Run()
{
    // Nothing ever comes on this connection but its end.
    m_logSocket.WaitForInput();
    m_cancellation.Cancel();
}

} // namespace qxd
