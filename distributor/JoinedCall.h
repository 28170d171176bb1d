#pragma once

#include "distributor/ByteCopy.h"
#include "distributor/IServantStarter.h"
#include "distributor/Reception.h"
#include "runtime/channels/IWriter.h"
#include "runtime/channels/Socket.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/ThreadEvent.h"
#include "streams/ByteStreams.h"
#include "streams/Utf8Streams.h"

#include <memory>
#include <optional>

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

/// A running call: a servant whose input and output are joined with its client's main connection and whose log goes to
/// the log connection. Used by the client's session thread; another copies the input. The destructor ends what is left
/// of the servant. From its start until the call has ended cleanly, closing the connections resets them, so that the
/// client cannot take what it has received for everything.
class JoinedCall
{
public:
    /// The main socket is not owned and outlives the call.
    explicit JoinedCall(qpr::Socket& mainSocket);

    /// Starts the servant, before the client has connected for the log. Throws what went wrong.
    void Start(IServantStarter& starter, std::vector<std::wstring> commandLine);

    /// Requires: started. Joins the servant with its client.
    void Join(qpr::Socket logSocket);

    /// Requires: joined. Copies the servant's output until it ends, goes on passing on the input, and returns when the
    /// servant has ended, by itself or because the client is gone.
    ServantOutcome WaitForEnd();

    /// Requires: the servant has ended. Writes the record that the client has asked for to the log.
    void WriteExecutionInfo(const CallOrder& order, const qxm::HostDescription& host, const ServantOutcome& end);

    /// Why what the client has got is not the whole answer; empty when it is. To be written as the log's last line.
    const std::wstring& Failure() const noexcept { return m_failure; }
    void WriteFailure();

    /// For a client that has asked for it: how the servant ended, after its log.
    void WriteServantEnd(const ServantOutcome& end);

    /// Requires: the servant has ended. Ends the connections such that the client gets all that was sent to it; after a
    /// failure the main one is reset.
    void Finish();

    bool ClientIsGone() const noexcept { return m_clientGone.IsCancelled(); }

private:
    void CopyOutput();
    void NoteSignal();
    void WaitForServantOrClient();

    /// Joined by the end of the log connection, which means that the client is gone.
    qpr::Wait WaitForClientToo();

    qpr::Socket& m_mainSocket; // not owned
    qpr::Socket m_logSocket;
    qpr::Cancellation m_clientGone; ///< stops the call's other threads
    LogChannel m_logChannel;
    qpr::GenericOutputStream<LogChannel> m_logBytes;
    qpr::UTF8OutputStream m_log;
    std::vector<std::wstring> m_commandLine;
    std::wstring m_failure;
    std::unique_ptr<IServant> m_servant;
    std::optional<InputCopier> m_inputCopier;
};

} // namespace qxd
