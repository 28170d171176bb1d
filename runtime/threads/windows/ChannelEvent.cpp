#include "runtime/threads/windows/ChannelEvent.h"

#include "runtime/threads/SystemWait.h"
#include "runtime/threads/Thread.h"

#include <winternl.h>

namespace qpr
{

namespace
{

/// How often we look whether a pipe's reader has gone: the system has no event for it.
constexpr std::uint32_t pipeTurnMs = 50;

/// FILE_PIPE_LOCAL_INFORMATION of the system's driver interface.
struct PipeFacts
{
    ULONG type;
    ULONG configuration;
    ULONG maximumInstances;
    ULONG currentInstances;
    ULONG inboundQuota;
    ULONG readDataAvailable;
    ULONG outboundQuota;
    ULONG writeQuotaAvailable;
    ULONG state;
    ULONG end;
};

constexpr int pipeFactsClass = 24; // FilePipeLocalInformation
constexpr ULONG connectedState = 3;

bool HasReaderGone(HANDLE pipe) noexcept
{
    IO_STATUS_BLOCK status{};
    PipeFacts facts{};
    const NTSTATUS result = NtQueryInformationFile(
        pipe, &status, &facts, sizeof facts, static_cast<FILE_INFORMATION_CLASS>(pipeFactsClass));
    return result >= 0 && facts.state != connectedState;
}

} // namespace

int CountReadySockets(SOCKET socket, WaitObject::Kind kind) noexcept
{
    fd_set sockets;
    FD_ZERO(&sockets);
    FD_SET(socket, &sockets);
    timeval noWait{};
    const bool isForReading = kind == WaitObject::Kind_Readable;
    return select(0, isForReading ? &sockets : nullptr, isForReading ? nullptr : &sockets, nullptr, &noWait);
}

ChannelEvent::ChannelEvent(const WaitObject& channel) noexcept
    : m_channel(channel)
    , m_event(CreateSystemEvent(WaitObject::Kind_State))
{
    if (!IsSocket())
        return;
    const long events = channel.GetKind() == WaitObject::Kind_Readable ? FD_READ | FD_ACCEPT | FD_CLOSE
                                                                       : FD_WRITE | FD_CONNECT | FD_CLOSE;
    WSAEventSelect(static_cast<SOCKET>(channel.Handle().Value()), Handle(), events);
}

ChannelEvent::~ChannelEvent()
{
    if (IsSocket() && m_event.IsValid())
        WSAEventSelect(static_cast<SOCKET>(m_channel.Handle().Value()), nullptr, 0);
}

std::uint32_t ChannelEvent::Look() noexcept
{
    if (IsReady())
        SetEvent(Handle());
    return IsSocket() ? Infinite : pipeTurnMs;
}

bool ChannelEvent::IsReady() const noexcept
{
    if (IsSocket())
        return CountReadySockets(static_cast<SOCKET>(m_channel.Handle().Value()), m_channel.GetKind()) > 0;
    return HasReaderGone(SystemHandleOf(m_channel.Handle()));
}

} // namespace qpr
