#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"
#include "runtime/channels/SocketAddress.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/NativeHandle.h"
#include "runtime/threads/Wait.h"

#include <cstdint>
#include <optional>

namespace qpr
{

struct NativeAddress;

/// A TCP socket, owned. Moves, does not copy; the destructor closes. Not inherited by child processes. Whatever would
/// block waits through a Wait, so that it can be ended from outside. Used by one thread at a time, except that one
/// thread may read while another writes. Every failed call throws "<call>() failed" with the socket error; a call on a
/// socket that is not open throws "Invalid Socket".
class Socket
{
public:
    /// Keeps the system's socket library started while it lives; every open socket holds one.
    class LibraryUser
    {
    public:
        LibraryUser();
        ~LibraryUser(); // NOLINT(performance-trivially-destructible): not trivial on every system
        LibraryUser(const LibraryUser&) = delete;
        LibraryUser& operator=(const LibraryUser&) = delete;
    };

    enum class Direction
    {
        Receive,
        Send,
        Both,
    };

    Socket() noexcept = default;
    Socket(Socket&& other) noexcept QX_NO_THREAD_SAFETY_ANALYSIS;
    Socket& operator=(Socket&& other) noexcept QX_NO_THREAD_SAFETY_ANALYSIS;

    static Socket Create(SocketAddress::Family family);

    /// A socket that listens at the address; for port 0 the system chooses one, which GetLocalAddress returns. The
    /// backlog bounds the connections that wait to be accepted.
    static Socket Listen(const SocketAddress& address, int backlog = 128);

    /// The next connection that is there, or none, and where it comes from. Wait for InputObject before.
    std::optional<Socket> TryAccept(SocketAddress* remoteAddress = nullptr);

    /// A wait that runs out of time is the socket error 10060, "Connection timed out". A socket that was connected with
    /// itself, which can happen at a port of this computer that nobody listens at, is 10061, "Connection refused".
    void Connect(const SocketAddress& address, const Wait& wait = {});

    SocketAddress GetLocalAddress() const;
    SocketAddress GetRemoteAddress() const;

    void SetReceiveBufferSize(std::uint32_t bytes);
    void SetSendBufferSize(std::uint32_t bytes);

    /// Makes the system probe an idle connection, so that a peer whose computer is gone is noticed within minutes.
    void EnableKeepAlive();

    /// Sends small pieces at once instead of waiting for the peer's acknowledgement of the ones before.
    void SendWithoutDelay();

    /// Makes closing the socket, also by the death of this process, reset the connection, so that the peer cannot take
    /// what it has received for the whole.
    void SetResetOnClose(bool reset);

    void Shutdown(Direction direction);

    /// False when the connection is broken; the peer knows in that case.
    bool TryShutdown(Direction direction) noexcept;

    void Close();

    /// Returns when there is data, its end, or a connection to accept.
    void WaitForInput(const Wait& wait = {}) const;

    /// Copies what can be read without taking it, and does not block: none when nothing is there yet, 0 at the end of
    /// the data. Throws when the connection broke.
    std::optional<std::size_t> TryPeek(void* buffer, std::size_t size) const;

    /// Whether the peer has ended its data and all of it has been read; otherwise as TryPeek.
    bool HasInputEnded() const;

    bool IsOpen() const noexcept { return m_handle.IsValid(); }

    /// Throws "Invalid Socket" when the socket is not open.
    NativeHandle Handle() const;

    /// Signalled when there is data, its end, or a connection to accept.
    WaitObject InputObject() const;

private:
    struct Kind
    {
        static bool Close(NativeHandle handle) noexcept;
        [[noreturn]] static void Fail() noexcept;
    };

    explicit Socket(NativeHandle handle) noexcept
        : m_handle(handle)
    {
    }

    friend class SocketReader;

    /// True when the connection broke rather than ended. The system reports a reset once, to the first call that meets
    /// it; when that was a write, a read later seems to find the end of the data.
    bool HasBroken() const noexcept;

    bool IsConnected() const noexcept;
    bool ShutDown(Direction direction) noexcept;
    Socket AcceptNext(NativeAddress& remoteAddress); ///< not open, with the error number set, when it fails
    void StartConnecting(const SocketAddress& address, const Wait& wait);

    OwnedHandle<Kind> m_handle;
    mutable Mutex m_sendingLock; // one thread may end the sending while another reads
    bool m_hasEndedSending QX_GUARDED_BY(m_sendingLock) = false;
};

/// Reads from a connected socket, which is not owned and outlives the reader, as does what its wait watches.
class SocketReader final : public IReader
{
public:
    explicit SocketReader(Socket& socket, Wait wait = {});
    SocketReader(const SocketReader&) = delete;
    SocketReader& operator=(const SocketReader&) = delete;

    /// Throws "WSARecv() failed".
    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override;

private:
    Socket& m_socket; // not owned
    const Wait m_wait;
};

/// Writes to a connected socket, which is not owned and outlives the writer, as does what its wait watches. A write
/// that was ended early leaves the peer with a part of the data: the connection counts as broken.
class SocketWriter final : public IWriter
{
public:
    explicit SocketWriter(Socket& socket, Wait wait = {});
    SocketWriter(const SocketWriter&) = delete;
    SocketWriter& operator=(const SocketWriter&) = delete;

    /// Throws "WSASend() failed".
    void Write(const void* buffer, std::size_t size) override;
    void Flush() override { }

private:
    Socket& m_socket; // not owned
    const Wait m_wait;
};

} // namespace qpr
