#pragma once

#include "config/HostDescription.h"
#include "streams/SocketStreams.h"
#include "streams/Utf8Streams.h"

#include <string>
#include <string_view>

namespace qxd
{

/// For operations that must be over within this time, however slowly the client proceeds.
qpr::Wait Within(std::uint32_t timeoutMs);

/// The same while the client only waits: data from it, or its end, is an error.
qpr::Wait Attended(const qpr::Socket& client, std::uint32_t timeoutMs = qpr::Infinite);

/// Reads what a client says before it has a servant. The amount is bounded: each client that waits costs memory.
/// Throws "The client said more than 65536 bytes before it had a servant".
class BoundedReader final : public qpr::IReader
{
public:
    BoundedReader(qpr::Socket& socket, const qpr::Wait& wait)
        : m_reader(socket, wait)
    {
    }

    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override { return m_reader.InputPending(); }

private:
    qpr::SocketReader m_reader;
    std::size_t m_left = 65536;
};

/// The distributor's side of the lines that precede a call. Whatever fails throws, after the client has been told why
/// where it can be.
class ClientConversation
{
public:
    /// The socket is not owned and outlives the conversation.
    ClientConversation(qpr::Socket& socket, const qpr::Wait& wait);

    /// Takes the login of a client that has been greeted. Refuses an identifier that could not stand on a command line.
    qxm::HostDescription LogIn();

    std::wstring ReadRequestLine();

    /// Lines are sent together when flushed, in printable form.
    void WriteLine(std::wstring_view line);
    void Flush() { m_output.flush(); }

    /// Whether the client has sent more than it was asked for.
    bool HasMoreInput() { return m_inputBytes.InputPending(); }

private:
    BoundedReader m_reader;
    qpr::GenericInputStream<BoundedReader> m_inputBytes;
    qpr::UTF8InputStream m_input;
    qpr::SocketWriter m_writer;
    qpr::SocketOutputStream m_outputBytes;
    qpr::UTF8OutputStream m_output;
};

/// Tells a client that was promised a servant, in place of the line that it waits for, why it gets none.
void TellAndPartFrom(qpr::Socket& client, ClientConversation& conversation, const std::wstring& reason);

/// Ends what is sent and waits a bounded time for the client to be done too: closing a connection with unread data
/// would reset it, and take from the client what it has not read yet.
void PartFrom(qpr::Socket& client);

} // namespace qxd
