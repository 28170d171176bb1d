#pragma once

#include "runtime/Cancellation.h"
#include "runtime/IWriter.h"
#include "runtime/Socket.h"
#include "runtime/ThreadEvent.h"

namespace qxd
{

/// The way of a servant's log to its client. It can be written to before the client has connected: a write then waits
/// for that. Used by one thread at a time, but for Connected.
class LogChannel final : public qpr::IWriter
{
public:
    /// Neither is owned; both outlive the channel. The socket is not touched before Connected.
    LogChannel(qpr::Socket& socket, const qpr::Cancellation& cancellation)
        : m_wait(cancellation)
        , m_writer(socket, cancellation)
    {
    }

    /// The socket is connected from now on. Any thread may call.
    void Connected() { m_connected.Signal(); }

    void Write(const void* buffer, std::size_t size) override
    {
        m_wait.For(m_connected.Object(), L"qxd::LogChannel::Write");
        m_writer.Write(buffer, size);
        if (size != 0)
            m_isInLine = static_cast<const char*>(buffer)[size - 1] != '\n';
    }
    void Flush() override { }

    /// Whether what has been written ends in the middle of a line.
    bool IsInLine() const noexcept { return m_isInLine; }

private:
    const qpr::Wait m_wait;
    qpr::SocketWriter m_writer;
    bool m_isInLine = false;
    qpr::ThreadEvent m_connected{qpr::ThreadEvent::Kind_ManualReset};
};

} // namespace qxd
