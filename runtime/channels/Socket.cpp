#include "runtime/channels/Socket.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/Thread.h"

#include <utility>

namespace qpr
{

namespace
{

constexpr std::uint32_t timedOut = 10060;
constexpr std::uint32_t refused = 10061;

[[noreturn]] void ThrowConnectError(std::uint32_t error)
{
    ThrowSocketErrorWithNumber(L"WSAConnect() failed", L"qpr::Socket::Connect", error);
}

} // namespace

NativeHandle Socket::Handle() const
{
    if (!m_handle.IsValid())
        throw RuntimeError(L"Invalid Socket");
    return m_handle;
}

WaitObject Socket::InputObject() const
{
    return WaitObject(Handle(), WaitObject::Kind_Readable);
}

void Socket::Connect(const SocketAddress& address, const Wait& wait)
{
    try
    {
        StartConnecting(address, wait);
    }
    catch (const TimeoutException&)
    {
        ThrowConnectError(timedOut);
    }
    if (GetLocalAddress() == GetRemoteAddress())
    {
        *this = Socket(); // or nobody could listen at the port
        ThrowConnectError(refused);
    }
}

void Socket::WaitForInput(const Wait& wait) const
{
    wait.For(InputObject(), L"qpr::Socket::WaitForInput");
}

void Socket::Shutdown(Direction direction)
{
    if (!TryShutdown(direction))
        ThrowSocketError(L"shutdown() failed", L"qpr::Socket::Shutdown");
}

// The two below exclude each other: a connection that both sides have ended looks like one that broke.

bool Socket::TryShutdown(Direction direction) noexcept
{
    const ScopedLock lock(m_sendingLock);
    if (!ShutDown(direction))
        return false;
    m_hasEndedSending |= direction != Direction::Receive;
    return true;
}

bool Socket::HasBroken() const noexcept
{
    const ScopedLock lock(m_sendingLock);
    return !m_hasEndedSending && !IsConnected();
}

bool Socket::HasInputEnded() const
{
    char byte = 0;
    return TryPeek(&byte, 1) == std::optional<std::size_t>(0);
}

SocketReader::SocketReader(Socket& socket, Wait wait)
    : m_socket(socket)
    , m_wait(std::move(wait))
{
}

SocketWriter::SocketWriter(Socket& socket, Wait wait)
    : m_socket(socket)
    , m_wait(std::move(wait))
{
}

} // namespace qpr
