#include "runtime/channels/Socket.h"

#include "runtime/channels/NativeSocket.h"
#include "runtime/channels/windows/OverlappedOperation.h"
#include "runtime/text/CheckedIntCast.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/windows/ChannelEvent.h"

#include <mstcpip.h>

#include <utility>

// Reads and writes are overlapped, so that two threads can wait for the same socket at once; waits for input alone and
// connecting go through the network events, of which a socket has one set.

namespace qpr
{
namespace
{

/// Guards the library's count of its users: Wine counts without a lock, and closes all sockets when a lost count makes
/// it 0 too early.
Mutex userCount;

void StartLibrary()
{
    const ScopedLock lock(userCount);
    WSADATA data;
    const int error = WSAStartup(MAKEWORD(2, 2), &data);
    if (error != 0)
        ThrowSocketErrorWithNumber(
            L"WSAStartup() failed", L"qpr::Socket::LibraryUser::LibraryUser", static_cast<std::uint32_t>(error));
}

void LeaveLibrary() noexcept
{
    const ScopedLock lock(userCount);
    if (WSACleanup() != 0)
        Panic("WSACleanup() == 0", "qpr::Socket::LibraryUser::~LibraryUser");
}

/// Servants that are started later must not hold the socket.
void MakeNonInheritable(NativeHandle handle)
{
    if (!SetHandleInformation(SystemHandleOf(handle), HANDLE_FLAG_INHERIT, 0))
        ThrowSystemError(L"SetHandleInformation() failed", L"qpr::`anonymous-namespace'::MakeNonInheritable");
}

void SetBlocking(NativeHandle handle, bool isBlocking)
{
    u_long isNonBlocking = isBlocking ? 0 : 1;
    if (ioctlsocket(SystemSocketOf(handle), FIONBIO, &isNonBlocking) != 0)
        ThrowSocketError(
            L"ioctlsocket() failed", isBlocking ? L"qpr::Socket::SetBlocking" : L"qpr::Socket::SetNonBlocking");
}

void EventSelect(NativeHandle handle, HANDLE event, long events)
{
    if (WSAEventSelect(SystemSocketOf(handle), event, events) != 0)
        ThrowSocketError(L"WSAEventSelect() failed", L"qpr::Socket::EventSelect");
}

/// Selects the completion of a connect while it lives.
class ConnectSelection
{
public:
    explicit ConnectSelection(NativeHandle handle)
        : m_handle(handle)
        , m_event(ThreadEvent::Kind_ManualReset)
    {
        EventSelect(handle, SystemHandleOf(m_event.Object().Handle()), FD_CONNECT);
    }
    ~ConnectSelection() { WSAEventSelect(SystemSocketOf(m_handle), nullptr, 0); }
    ConnectSelection(const ConnectSelection&) = delete;
    ConnectSelection& operator=(const ConnectSelection&) = delete;

    /// The socket error that the connect ended with, or 0.
    std::uint32_t WaitForEnd(const Wait& wait)
    {
        wait.For(m_event.Object(), L"qpr::Socket::Connect");
        WSANETWORKEVENTS events{};
        if (WSAEnumNetworkEvents(SystemSocketOf(m_handle), SystemHandleOf(m_event.Object().Handle()), &events) != 0)
            ThrowSocketError(L"WSAEnumNetworkEvents() failed", L"qpr::Socket::EnumNetworkEvents");
        return static_cast<std::uint32_t>(events.iErrorCode[FD_CONNECT_BIT]);
    }

private:
    NativeHandle m_handle;
    ThreadEvent m_event;
};

} // namespace

Socket::LibraryUser::LibraryUser()
{
    StartLibrary();
}

Socket::LibraryUser::~LibraryUser()
{
    LeaveLibrary();
}

bool Socket::Kind::Close(NativeHandle handle) noexcept
{
    if (closesocket(SystemSocketOf(handle)) != 0)
        return false;
    LeaveLibrary();
    return true;
}

void PrepareToListen(NativeHandle handle)
{
    SetBlocking(handle, false);
    SetSocketOption(handle, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, 1); // else another program could listen there too
}

int CountReadable(NativeHandle handle) noexcept
{
    return CountReadySockets(SystemSocketOf(handle), WaitObject::Kind_Readable);
}

void KeepLoaded() noexcept
{
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
        reinterpret_cast<const wchar_t*>(&KeepLoaded), &library);
}

Socket Socket::Create(SocketAddress::Family family)
{
    StartLibrary();
    const SOCKET created = WSASocketW(NativeFamily(family), SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED);
    if (created == INVALID_SOCKET)
    {
        const std::uint32_t error = LastSocketError();
        LeaveLibrary();
        ThrowSocketErrorWithNumber(L"WSASocket() failed", L"qpr::Socket::Create", error);
    }
    Socket socket(NativeHandle(static_cast<std::intptr_t>(created)));
    MakeNonInheritable(socket.Handle());
    return socket;
}

Socket Socket::AcceptNext(NativeAddress& remoteAddress)
{
    const SOCKET accepted = accept(SystemSocketOf(Handle()), remoteAddress.Get(), &remoteAddress.size);
    if (accepted == INVALID_SOCKET)
        return Socket();
    StartLibrary();
    Socket socket(NativeHandle(static_cast<std::intptr_t>(accepted)));
    MakeNonInheritable(socket.Handle());
    EventSelect(socket.Handle(), nullptr, 0); // it has inherited the listener's
    SetBlocking(socket.Handle(), true);
    return socket;
}

void Socket::StartConnecting(const SocketAddress& address, const Wait& wait)
{
    wait.Check();
    const NativeAddress native(address);
    SetBlocking(Handle(), false);
    if (WSAConnect(SystemSocketOf(Handle()), native.Get(), native.size, nullptr, nullptr, nullptr, nullptr) != 0)
    {
        std::uint32_t error = LastSocketError();
        if (error == WSAEWOULDBLOCK)
            error = ConnectSelection(Handle()).WaitForEnd(wait);
        if (error != 0)
            ThrowSocketErrorWithNumber(L"WSAConnect() failed", L"qpr::Socket::Connect", error);
    }
    SetBlocking(Handle(), true);
}

void Socket::EnableKeepAlive()
{
    tcp_keepalive times{1, 60'000, 10'000}; // in milliseconds: until the first probe, and between two
    DWORD size = 0;
    if (WSAIoctl(
            SystemSocketOf(Handle()), SIO_KEEPALIVE_VALS, &times, sizeof times, nullptr, 0, &size, nullptr, nullptr)
        != 0)
        ThrowSocketError(L"setsockopt() failed", L"qpr::Socket::SetOption");
}

std::optional<std::size_t> Socket::TryPeek(void* buffer, std::size_t size) const
{
    if (CountReadable(Handle()) <= 0)
        return std::nullopt;
    const int count = recv(SystemSocketOf(Handle()), static_cast<char*>(buffer), CheckedIntCast<int>(size), MSG_PEEK);
    if (count >= 0)
        return static_cast<std::size_t>(count);
    const int error = WSAGetLastError();
    if (error == WSAEMSGSIZE) // there is more than was asked for
        return size;
    if (error != WSAEWOULDBLOCK)
        ThrowSocketErrorWithNumber(L"WSARecv() failed", L"qpr::Socket::TryPeek", static_cast<std::uint32_t>(error));
    return std::nullopt;
}

namespace
{

/// Carries one operation, which start begins, to its end; how many bytes it has moved. Throws "<call>() failed".
template <class Start>
DWORD Complete(const Socket& socket, const Wait& wait, Start start, const wchar_t* callFailed, const wchar_t* function,
    const char* panicFunction)
{
    const HANDLE handle = SystemHandleOf(socket.Handle());
    std::optional<ThreadEvent> ended; // each operation has its own, since two threads may use the socket
    OverlappedOperation operation(ended);
    DWORD count = 0;
    if (start(SystemSocketOf(socket.Handle()), &count, operation.Begin()) == 0)
        return count;
    if (WSAGetLastError() != WSA_IO_PENDING)
        ThrowSocketError(callFailed, function);
    operation.WaitForEnd(
        handle, [&] { wait.For(operation.Object(), function); }, panicFunction, __LINE__);
    DWORD flags = 0;
    if (!WSAGetOverlappedResult(SystemSocketOf(socket.Handle()), operation.Record(), &count, FALSE, &flags))
        ThrowSocketError(callFailed, function);
    return count;
}

} // namespace

std::size_t SocketReader::Read(void* buffer, std::size_t size)
{
    m_wait.Check();
    WSABUF piece{PieceSize(size), static_cast<char*>(buffer)};
    DWORD flags = 0;
    const auto receive = [&](SOCKET socket, DWORD* count, OVERLAPPED* record)
    { return WSARecv(socket, &piece, 1, count, &flags, record, nullptr); };
    const DWORD count =
        Complete(m_socket, m_wait, receive, L"WSARecv() failed", L"qpr::SocketReader::Read", "qpr::SocketReader::Read");
    if (count == 0 && m_socket.HasBroken())
        ThrowSocketErrorWithNumber(L"WSARecv() failed", L"qpr::SocketReader::Read", WSAECONNRESET);
    return count;
}

void SocketWriter::Write(const void* buffer, std::size_t size)
{
    auto* next = const_cast<char*>(static_cast<const char*>(buffer)); // the system takes it so and only reads
    for (std::size_t left = size; left > 0;)
    {
        m_wait.Check();
        WSABUF piece{PieceSize(left), next};
        const auto send = [&](SOCKET socket, DWORD* count, OVERLAPPED* record)
        { return WSASend(socket, &piece, 1, count, 0, record, nullptr); };
        const DWORD count = Complete(
            m_socket, m_wait, send, L"WSASend() failed", L"qpr::SocketWriter::Write", "qpr::SocketWriter::Write");
        next += count;
        left -= count;
    }
}

} // namespace qpr
