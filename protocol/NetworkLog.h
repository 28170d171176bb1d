#pragma once

#include "runtime/channels/Socket.h"
#include "runtime/threads/Cancellation.h"

#include <qxmi/IServiceConnectionW.h>

#include <exception>
#include <string>

namespace qxm
{

/// What separates a log from how its servant ended, which follows as "exit <code>" or "signal <number>" and a line
/// feed: a byte that no UTF-8 text has.
inline constexpr char servantEndMark = '\xFF';

/// Reads the log that comes over a connection, up to how the servant ended. A cancelled call's log has ended.
class NetworkLog final : public qpr::IReader
{
public:
    /// The socket and the cancellation are not owned and outlive this.
    NetworkLog(qpr::Socket& socket, const qpr::Cancellation& cancellation, bool tellsServantEnd)
        : m_reader(socket, cancellation)
        , m_tellsServantEnd(tellsServantEnd)
    {
    }

    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override { return m_reader.InputPending(); }

    /// Requires: the log has been read to its end. False when it does not say how the servant ended. Throws the error
    /// that kept it from saying so.
    bool ServantEnd(qxmi::ServantEnd& end) const;

private:
    std::size_t ReadBytes(char* buffer, std::size_t size);

    qpr::SocketReader m_reader;
    const bool m_tellsServantEnd;
    std::string m_servantEnd; ///< what has come of it, from the mark on
    std::exception_ptr m_error;
};

} // namespace qxm
