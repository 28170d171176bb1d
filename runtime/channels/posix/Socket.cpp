#include "runtime/channels/Socket.h"

#include "runtime/channels/NativeSocket.h"
#include "runtime/text/Errors.h"

#include <cerrno>
#include <dlfcn.h>
#include <poll.h>

// Sockets are non-blocking from their creation to their end: every operation is tried first, and what would block waits
// through a Wait instead of in the system call.

namespace qpr
{
namespace
{

constexpr std::uint32_t connectionReset = 10054; // in the numbers of the socket error table

bool WouldBlock(int error) noexcept
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

} // namespace

Socket::LibraryUser::LibraryUser() = default;
Socket::LibraryUser::~LibraryUser() = default;

bool Socket::Kind::Close(NativeHandle handle) noexcept
{
    return CloseSystemHandle(handle);
}

void PrepareToListen(NativeHandle handle)
{
    // The port may be taken although connections of an earlier listener are still being wound up.
    SetSocketOption(handle, SOL_SOCKET, SO_REUSEADDR, 1);
}

int CountReadable(NativeHandle handle) noexcept
{
    pollfd item{SystemSocketOf(handle), POLLIN, 0};
    const int count = poll(&item, 1, 0);
    return count < 0 && errno == EINTR ? 0 : count;
}

void KeepLoaded() noexcept
{
    Dl_info library{};
    // A program's own code, which stays loaded anyway, is not found by that name: then this fails.
    if (dladdr(reinterpret_cast<const void*>(&KeepLoaded), &library) != 0)
        dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

Socket Socket::Create(SocketAddress::Family family)
{
    const int descriptor = socket(NativeFamily(family), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
    if (descriptor == -1)
        ThrowSocketError(L"WSASocket() failed", L"qpr::Socket::Create");
    return Socket(NativeHandle(descriptor));
}

Socket Socket::AcceptNext(NativeAddress& remoteAddress)
{
    const int listener = SystemSocketOf(Handle());
    return Socket(
        NativeHandle(accept4(listener, remoteAddress.Get(), &remoteAddress.size, SOCK_NONBLOCK | SOCK_CLOEXEC)));
}

void Socket::StartConnecting(const SocketAddress& address, const Wait& wait)
{
    wait.Check();
    const NativeAddress native(address);
    if (connect(SystemSocketOf(Handle()), native.Get(), native.size) == 0)
        return;
    if (errno != EINPROGRESS && errno != EINTR)
        ThrowSocketError(L"WSAConnect() failed", L"qpr::Socket::Connect");

    wait.For(WaitObject(Handle(), WaitObject::Kind_Writable), L"qpr::Socket::Connect");
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(SystemSocketOf(Handle()), SOL_SOCKET, SO_ERROR, &error, &size) == -1)
        error = errno;
    if (error != 0)
        ThrowSocketErrorWithNumber(L"WSAConnect() failed", L"qpr::Socket::Connect", SocketErrorFromErrno(error));
}

void Socket::EnableKeepAlive()
{
    SetSocketOption(Handle(), SOL_SOCKET, SO_KEEPALIVE, 1);
    SetSocketOption(Handle(), IPPROTO_TCP, TCP_KEEPIDLE, 60);
    SetSocketOption(Handle(), IPPROTO_TCP, TCP_KEEPINTVL, 10);
    SetSocketOption(Handle(), IPPROTO_TCP, TCP_KEEPCNT, 6);
}

std::optional<std::size_t> Socket::TryPeek(void* buffer, std::size_t size) const
{
    const ssize_t count = recv(SystemSocketOf(Handle()), buffer, size, MSG_PEEK);
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
        const ssize_t count = recv(SystemSocketOf(m_socket.Handle()), buffer, size, 0);
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

void SocketWriter::Write(const void* buffer, std::size_t size)
{
    const char* next = static_cast<const char*>(buffer);
    while (size != 0)
    {
        m_wait.Check();
        const ssize_t count = send(SystemSocketOf(m_socket.Handle()), next, size, MSG_NOSIGNAL);
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
