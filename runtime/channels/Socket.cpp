#include "runtime/channels/Socket.h"

#include "runtime/channels/NativeSocket.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/Thread.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qpr
{

namespace
{

// In the numbers of the socket error table.
constexpr std::uint32_t notEnoughMemory = 8;
constexpr std::uint32_t invalidArgument = 10022;
constexpr std::uint32_t tooManyFiles = 10024;
constexpr std::uint32_t noSocket = 10038;
constexpr std::uint32_t notSupported = 10045;
constexpr std::uint32_t noBufferSpace = 10055;
constexpr std::uint32_t timedOut = 10060;
constexpr std::uint32_t refused = 10061;
constexpr std::uint32_t libraryNotStarted = 10093;

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
    : m_handle(std::move(other.m_handle))
    , m_hasEndedSending(other.m_hasEndedSending)
{
}

Socket& Socket::operator=(Socket&& other) noexcept
{
    m_handle = std::move(other.m_handle);
    m_hasEndedSending = other.m_hasEndedSending;
    return *this;
}

void Socket::Kind::Fail() noexcept
{
    Panic("closesocket(m_handle) == 0", "qpr::Socket::~Socket");
}

void Socket::Close()
{
    if (IsOpen() && !m_handle.Close())
        ThrowSocketError(L"closesocket() failed", L"qpr::Socket::Close");
}

Socket Socket::Listen(const SocketAddress& address, int backlog)
{
    Socket socket = Create(address.GetFamily());
    PrepareToListen(socket.Handle());
    const NativeAddress native(address);
    if (bind(SystemSocketOf(socket.Handle()), native.Get(), native.size) != 0)
        ThrowSocketError(L"bind() failed", L"qpr::Socket::Listen");
    if (listen(SystemSocketOf(socket.Handle()), backlog) != 0)
        ThrowSocketError(L"listen() failed", L"qpr::Socket::Listen");
    return socket;
}

std::optional<Socket> Socket::TryAccept(SocketAddress* remoteAddress)
{
    // All other errors mean that nobody is there, or that somebody came and has gone again.
    constexpr std::uint32_t failures[] = {
        notEnoughMemory, invalidArgument, tooManyFiles, noSocket, notSupported, noBufferSpace, libraryNotStarted};
    NativeAddress native;
    Socket accepted = AcceptNext(native);
    if (!accepted.IsOpen())
    {
        const std::uint32_t error = LastSocketError();
        if (std::ranges::find(failures, error) != std::end(failures))
            ThrowSocketErrorWithNumber(L"accept() failed", L"qpr::Socket::TryAccept", error);
        return std::nullopt;
    }
    if (remoteAddress)
        *remoteAddress = native.ToSocketAddress();
    return accepted;
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
    return getpeername(SystemSocketOf(m_handle.Get()), native.Get(), &native.size) == 0 || !FailedForWantOfConnection();
}

bool Socket::ShutDown(Direction direction) noexcept
{
    const int how = direction == Direction::Receive ? endReceiving
        : direction == Direction::Send              ? endSending
                                                    : endBoth;
    return shutdown(SystemSocketOf(m_handle.Get()), how) == 0;
}

NativeHandle Socket::Handle() const
{
    if (!m_handle.IsValid())
        throw RuntimeError(L"Invalid Socket");
    return m_handle.Get();
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
        *this = Socket(); // frees the port, so that somebody can listen at it
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

// The next two functions exclude each other: a connection that both sides have ended looks like one that broke.

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

bool SocketReader::InputPending()
{
    m_wait.Check();
    const int count = CountReadable(m_socket.Handle());
    if (count < 0)
        ThrowSocketError(L"select() failed", L"qpr::SocketReader::InputPending");
    return count > 0;
}

SocketWriter::SocketWriter(Socket& socket, Wait wait)
    : m_socket(socket)
    , m_wait(std::move(wait))
{
}

} // namespace qpr
