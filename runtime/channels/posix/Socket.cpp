#include "runtime/channels/Socket.h"

#include "runtime/channels/posix/NativeAddress.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/text/posix/SocketErrors.h"

#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

// Sockets are non-blocking from their creation to their end: every operation is tried first, and what would block waits
// through a Wait instead of in the system call.
namespace qpr
{
namespace
{

constexpr std::uint32_t connectionReset = 10054; // in the numbers of the socket error table

int Descriptor(NativeHandle handle) noexcept
{
    return static_cast<int>(handle.Value());
}

NativeHandle CreateDescriptor(SocketAddress::Family family, const wchar_t* function)
{
    const int descriptor = socket(NativeFamily(family), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
    if (descriptor == -1)
        ThrowSocketError(L"WSASocket() failed", function);
    return NativeHandle(descriptor);
}

void SetOption(NativeHandle handle, int level, int option, int value)
{
    if (setsockopt(Descriptor(handle), level, option, &value, sizeof value) == -1)
        ThrowSocketError(L"setsockopt() failed", L"qpr::Socket::SetOption");
}

bool WouldBlock(int error) noexcept
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

} // namespace

Socket::LibraryUser::LibraryUser() = default;
Socket::LibraryUser::~LibraryUser() = default;

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
    if (m_handle.IsValid() && close(Descriptor(m_handle)) == -1 && errno != EINTR)
        Panic("closesocket(m_handle) == 0", "qpr::Socket::~Socket");
}

Socket Socket::Create(SocketAddress::Family family)
{
    return Socket(CreateDescriptor(family, L"qpr::Socket::Create"));
}

Socket Socket::Listen(const SocketAddress& address, int backlog)
{
    Socket socket(CreateDescriptor(address.GetFamily(), L"qpr::Socket::Create"));
    // Connections of a listener before that are still being wound up do not keep the port from us.
    SetOption(socket.m_handle, SOL_SOCKET, SO_REUSEADDR, 1);
    const NativeAddress native(address);
    if (bind(Descriptor(socket.m_handle), native.Get(), native.size) == -1)
        ThrowSocketError(L"bind() failed", L"qpr::Socket::Listen");
    if (listen(Descriptor(socket.m_handle), backlog) == -1)
        ThrowSocketError(L"listen() failed", L"qpr::Socket::Listen");
    return socket;
}

std::optional<Socket> Socket::TryAccept(SocketAddress* remoteAddress)
{
    NativeAddress native;
    const int descriptor = accept4(Descriptor(Handle()), native.Get(), &native.size, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor != -1)
    {
        if (remoteAddress)
            *remoteAddress = native.ToSocketAddress();
        return Socket(NativeHandle(descriptor));
    }
    switch (errno)
    {
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
    case EBADF:
    case EINVAL:
    case ENOTSOCK:
    case EOPNOTSUPP:
        ThrowSocketError(L"accept() failed", L"qpr::Socket::TryAccept");
    default:
        return std::nullopt; // nobody there, or somebody who has gone again
    }
}

void Socket::StartConnecting(const SocketAddress& address, const Wait& wait)
{
    wait.Check();
    const NativeAddress native(address);
    if (connect(Descriptor(Handle()), native.Get(), native.size) == 0)
        return;
    if (errno != EINPROGRESS && errno != EINTR)
        ThrowSocketError(L"WSAConnect() failed", L"qpr::Socket::Connect");

    wait.For(WaitObject(Handle(), WaitObject::Kind_Writable), L"qpr::Socket::Connect");
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(Descriptor(Handle()), SOL_SOCKET, SO_ERROR, &error, &size) == -1)
        error = errno;
    if (error != 0)
        ThrowSocketErrorWithNumber(L"WSAConnect() failed", L"qpr::Socket::Connect", SocketErrorFromErrno(error));
}

SocketAddress Socket::GetLocalAddress() const
{
    NativeAddress native;
    if (getsockname(Descriptor(Handle()), native.Get(), &native.size) == -1)
        ThrowSocketError(L"getsockname() failed", L"qpr::Socket::GetLocalAddress");
    return native.ToSocketAddress();
}

SocketAddress Socket::GetRemoteAddress() const
{
    NativeAddress native;
    if (getpeername(Descriptor(Handle()), native.Get(), &native.size) == -1)
        ThrowSocketError(L"getpeername() failed", L"qpr::Socket::GetRemoteAddress");
    return native.ToSocketAddress();
}

void Socket::SetReceiveBufferSize(std::uint32_t bytes)
{
    SetOption(Handle(), SOL_SOCKET, SO_RCVBUF, static_cast<int>(bytes));
}

void Socket::SetSendBufferSize(std::uint32_t bytes)
{
    SetOption(Handle(), SOL_SOCKET, SO_SNDBUF, static_cast<int>(bytes));
}

void Socket::EnableKeepAlive()
{
    SetOption(Handle(), SOL_SOCKET, SO_KEEPALIVE, 1);
    SetOption(Handle(), IPPROTO_TCP, TCP_KEEPIDLE, 60);
    SetOption(Handle(), IPPROTO_TCP, TCP_KEEPINTVL, 10);
    SetOption(Handle(), IPPROTO_TCP, TCP_KEEPCNT, 6);
}

void Socket::SendWithoutDelay()
{
    SetOption(Handle(), IPPROTO_TCP, TCP_NODELAY, 1);
}

void Socket::SetResetOnClose(bool reset)
{
    const linger option{reset ? 1 : 0, 0};
    if (setsockopt(Descriptor(Handle()), SOL_SOCKET, SO_LINGER, &option, sizeof option) == -1)
        ThrowSocketError(L"setsockopt() failed", L"qpr::Socket::SetOption");
}

bool Socket::IsConnected() const noexcept
{
    NativeAddress native;
    return getpeername(Descriptor(m_handle), native.Get(), &native.size) == 0 || errno != ENOTCONN;
}

bool Socket::ShutDown(Direction direction) noexcept
{
    const int how = direction == Direction::Receive ? SHUT_RD : direction == Direction::Send ? SHUT_WR : SHUT_RDWR;
    return shutdown(Descriptor(m_handle), how) == 0;
}

void Socket::Close()
{
    const NativeHandle handle = std::exchange(m_handle, NativeHandle());
    if (handle.IsValid() && close(Descriptor(handle)) == -1 && errno != EINTR)
        ThrowSocketError(L"closesocket() failed", L"qpr::Socket::Close");
}

std::optional<std::size_t> Socket::TryPeek(void* buffer, std::size_t size) const
{
    const ssize_t count = recv(Descriptor(Handle()), buffer, size, MSG_PEEK);
    if (count >= 0)
        return static_cast<std::size_t>(count);
    if (!WouldBlock(errno) && errno != EINTR)
        ThrowSocketError(L"WSARecv() failed", L"qpr::Socket::TryPeek");
    return std::nullopt;
}

std::size_t SocketReader::Read(void* buffer, std::size_t size)
{
    for (;;)
    {
        m_wait.Check();
        const ssize_t count = recv(Descriptor(m_socket.Handle()), buffer, size, 0);
        if (count == 0 && m_socket.HasBroken())
            ThrowSocketErrorWithNumber(L"WSARecv() failed", L"qpr::SocketReader::Read", connectionReset);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (WouldBlock(errno))
            m_wait.For(m_socket.InputObject(), L"qpr::SocketReader::Read");
        else if (errno != EINTR)
            ThrowSocketError(L"WSARecv() failed", L"qpr::SocketReader::Read");
    }
}

bool SocketReader::InputPending()
{
    m_wait.Check();
    pollfd item{Descriptor(m_socket.Handle()), POLLIN, 0};
    const int count = poll(&item, 1, 0);
    if (count == -1 && errno != EINTR)
        ThrowSocketError(L"select() failed", L"qpr::SocketReader::InputPending");
    return count > 0;
}

void SocketWriter::Write(const void* buffer, std::size_t size)
{
    const char* next = static_cast<const char*>(buffer);
    while (size != 0)
    {
        m_wait.Check();
        const ssize_t count = send(Descriptor(m_socket.Handle()), next, size, MSG_NOSIGNAL);
        if (count >= 0)
        {
            next += count;
            size -= static_cast<std::size_t>(count);
        }
        else if (WouldBlock(errno))
            m_wait.For(WaitObject(m_socket.Handle(), WaitObject::Kind_Writable), L"qpr::SocketWriter::Write");
        else if (errno != EINTR)
            ThrowSocketError(L"WSASend() failed", L"qpr::SocketWriter::Write");
    }
}

} // namespace qpr
