#pragma once

#include "runtime/threads/WaitObject.h"
#include "runtime/threads/windows/Handle.h"

#include <cstdint>

namespace qpr
{

/// Stands for a channel in one wait: a manual-reset event, set while the channel is as waited for. Channels are sockets
/// (Kind_Readable, Kind_Writable; one wait for a socket at a time) and pipes that we write to (Kind_PeerGone).
class ChannelEvent
{
public:
    /// Handle() is null when the system has no event left.
    explicit ChannelEvent(const WaitObject& channel) noexcept;
    ChannelEvent(ChannelEvent&&) noexcept = default;
    ~ChannelEvent();

    HANDLE Handle() const noexcept { return SystemHandleOf(m_event); }

    /// Sets the event if the channel is already as waited for. Returns after how many milliseconds to look again:
    /// Infinite where the system sets the event by itself.
    std::uint32_t Look() noexcept;

private:
    bool IsSocket() const noexcept { return m_channel.GetKind() != WaitObject::Kind_PeerGone; }
    bool IsReady() const noexcept;

    WaitObject m_channel;
    SystemHandle<"qpr::ChannelEvent::~ChannelEvent"> m_event;
};

/// 1 when a read from the socket (Kind_Readable) or a write to it would not block, 0 when it would; SOCKET_ERROR.
int CountReadySockets(SOCKET socket, WaitObject::Kind kind) noexcept;

} // namespace qpr
