#pragma once

#include "runtime/channels/Socket.h"
#include "streams/ByteStreams.h"

#include <array>
#include <istream>
#include <streambuf>
#include <utility>

namespace qpr
{

using SocketInputStream = GenericInputStream<SocketReader>;
using SocketOutputStream = GenericOutputStream<SocketWriter>;

/// Peeks at a connection's data in large pieces, but takes no more from the socket than has been read.
class PeekingInputStreamBuffer final : public std::streambuf
{
public:
    /// The socket is not owned and outlives the buffer.
    PeekingInputStreamBuffer(Socket& socket, Wait wait)
        : m_socket(socket)
        , m_wait(std::move(wait))
    {
    }

    /// Takes from the socket what has been read. Until then another reader would read it again.
    void Settle();

protected:
    int_type underflow() override;

private:
    Socket& m_socket; // not owned
    const Wait m_wait;
    std::array<char, 512> m_bytes; ///< a copy of the socket's first bytes
};

/// Reads the first part of a connection's data; after Settle another reader continues with the rest.
class PeekingInputStream final : public std::istream
{
public:
    PeekingInputStream(Socket& socket, Wait wait);

    void Settle() { m_buffer.Settle(); }

private:
    PeekingInputStreamBuffer m_buffer;
};

} // namespace qpr
