#pragma once

#include "protocol/ByteStreams.h"
#include "runtime/IReader.h"
#include "runtime/IWaiter.h"
#include "runtime/Socket.h"

#include <array>

namespace qpr
{

/// Reads a connection that is to be handed on in the middle of its data: looks at what has come in large pieces, but
/// takes from the socket no more than what has been read. For streams with a buffer of one byte.
class PeekingReader final : public IReader
{
public:
    /// Neither is owned; both outlive the reader.
    PeekingReader(Socket& socket, const IWaiter& waiter)
        : m_socket(socket)
        , m_waiter(waiter)
    {
    }

    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override;

    /// Takes from the socket what has been read. Until then another reader would read it again.
    void Settle();

private:
    void Peek();

    Socket& m_socket; // not owned
    const IWaiter& m_waiter; // not owned
    std::array<char, 512> m_bytes; ///< a copy of the socket's first bytes
    std::size_t m_size = 0;
    std::size_t m_read = 0;
};

using PeekingInputStream = GenericInputStream<PeekingReader>;

} // namespace qpr
