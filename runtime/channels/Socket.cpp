#include "runtime/channels/Socket.h"

#include "runtime/channels/NativeSocket.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
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

void SetSocketOption(NativeHandle handle, int level, int option, int value)
{
    if (setsockopt(SystemSocketOf(handle), level, option, reinterpret_cast<const char*>(&value), sizeof value) != 0)
        ThrowSocketError(L"setsockopt() failed", L"qpr::Socket::SetOption");
}

Socket::Socket(Socket&& other) noexcept
    : m_handle(std::exchange(other.m_handle, NativeHandle()))
    , m_hasEndedSending(other.m_hasEndedSending)
{
}

Socket& Socket::operator=(Socket&& other) noexcept
{
    Socket taken(std::move(other));
    std::swap(m_handle, taken.m_handle);
    m_hasEndedSending = taken.m_hasEndedSending;
    return *this;
}

Socket::~Socket()
{
    if (m_handle.IsValid() && !CloseSystemSocket(m_handle))
        Panic("closesocket(m_handle) == 0", "qpr::Socket::~Socket");
}

void Socket::Close()
{
    const NativeHandle handle = std::exchange(m_handle, NativeHandle());
    if (handle.IsValid() && !CloseSystemSocket(handle))
        ThrowSocketError(L"closesocket() failed", L"qpr::Socket::Close");
}

Socket Socket::Listen(const SocketAddress& address, int backlog)
{
    Socket socket = Create(address.GetFamily());
    PrepareToListen(socket.m_handle);
    const NativeAddress native(address);
    if (bind(SystemSocketOf(socket.m_handle), native.Get(), native.size) != 0)
        ThrowSocketError(L"bind() failed", L"qpr::Socket::Listen");
    if (listen(SystemSocketOf(socket.m_handle), backlog) != 0)
        ThrowSocketError(L"listen() failed", L"qpr::Socket::Listen");
    return socket;
}

SocketAddress Socket::GetLocalAddress() const
{
    NativeAddress native;
    if (getsockname(SystemSocketOf(Handle()), native.Get(), &native.size) != 0)
        ThrowSocketError(L"getsockname() failed", L"qpr::Socket::GetLocalAddress");
    return native.ToSocketAddress();
}

SocketAddress Socket::GetRemoteAddress() const
{
    NativeAddress native;
    if (getpeername(SystemSocketOf(Handle()), native.Get(), &native.size) != 0)
        ThrowSocketError(L"getpeername() failed", L"qpr::Socket::GetRemoteAddress");
    return native.ToSocketAddress();
}

void Socket::SetReceiveBufferSize(std::uint32_t bytes)
{
    SetSocketOption(Handle(), SOL_SOCKET, SO_RCVBUF, static_cast<int>(bytes));
}

void Socket::SetSendBufferSize(std::uint32_t bytes)
{
    SetSocketOption(Handle(), SOL_SOCKET, SO_SNDBUF, static_cast<int>(bytes));
}

void Socket::SendWithoutDelay()
{
    SetSocketOption(Handle(), IPPROTO_TCP, TCP_NODELAY, 1);
}

void Socket::SetResetOnClose(bool reset)
{
    linger option{};
    option.l_onoff = reset ? 1 : 0;
    if (setsockopt(
            SystemSocketOf(Handle()), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&option), sizeof option)
        != 0)
        ThrowSocketError(L"setsockopt() failed", L"qpr::Socket::SetOption");
}

bool Socket::IsConnected() const noexcept
{
    NativeAddress native;
    return getpeername(SystemSocketOf(m_handle), native.Get(), &native.size) == 0 || !FailedForWantOfConnection();
}

bool Socket::ShutDown(Direction direction) noexcept
{
    const int how = direction == Direction::Receive ? endReceiving
        : direction == Direction::Send              ? endSending
                                                    : endBoth;
    return shutdown(SystemSocketOf(m_handle), how) == 0;
}

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
