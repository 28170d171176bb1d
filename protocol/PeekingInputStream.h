#pragma once

#include "runtime/IWaiter.h"
#include "runtime/Socket.h"

#include <array>
#include <istream>
#include <streambuf>

namespace qpr
{

/// Looks at what has come over a connection in large pieces, but takes from the socket no more than what has been read.
class PeekingInputStreamBuffer final : public std::streambuf
{
public:
    /// Neither is owned; both outlive the buffer.
    PeekingInputStreamBuffer(Socket& socket, const IWaiter& waiter)
        : m_socket(socket)
        , m_waiter(waiter)
    {
    }

    /// Takes from the socket what has been read. Until then another reader would read it again.
    void Settle();

protected:
    int_type underflow() override;

private:
    Socket& m_socket; // not owned
    const IWaiter& m_waiter; // not owned
    std::array<char, 512> m_bytes; ///< a copy of the socket's first bytes
};

/// Reads a connection that is to be handed on in the middle of its data, which begins after Settle.
class PeekingInputStream final : public std::istream
{
public:
    PeekingInputStream(Socket& socket, const IWaiter& waiter);

    void Settle() { m_buffer.Settle(); }

private:
    PeekingInputStreamBuffer m_buffer;
};

} // namespace qpr
