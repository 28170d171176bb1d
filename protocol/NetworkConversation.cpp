#include "protocol/DistributorRequest.h"
#include "protocol/GenericServiceConnection.h"
#include "protocol/GraceTime.h"
#include "protocol/HandOver.h"
#include "protocol/LogForwarder.h"
#include "protocol/ServantAnswer.h"
#include "protocol/ServantConversation.h"
#include "runtime/channels/Socket.h"
#include "runtime/threads/Cancellation.h"
#include "streams/SocketStreams.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <functional>
#include <string>
#include <string_view>

namespace qxm
{

namespace
{

constexpr std::size_t maxServantEndSize = 32; // anything longer does not tell an end

bool ParseNumber(std::string_view text, std::uint32_t& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

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

std::size_t NetworkLog::Read(void* buffer, std::size_t size)
{
    auto* const bytes = static_cast<char*>(buffer);
    for (;;)
    {
        const std::size_t count = ReadBytes(bytes, size);
        if (count == 0 || !m_tellsServantEnd)
            return count;
        char* const mark = m_servantEnd.empty() ? std::find(bytes, bytes + count, servantEndMark) : bytes;
        const auto room = static_cast<std::ptrdiff_t>(maxServantEndSize - m_servantEnd.size());
        m_servantEnd.append(mark, mark + std::min(bytes + count - mark, room));
        if (mark != bytes)
            return static_cast<std::size_t>(mark - bytes);
    }
}

std::size_t NetworkLog::ReadBytes(char* buffer, std::size_t size)
{
    try
    {
        return m_reader.Read(buffer, size);
    }
    catch (const std::exception&)
    {
        m_error = std::current_exception();
        throw;
    }
}

bool NetworkLog::ServantEnd(qxmi::ServantEnd& end) const
{
    if (m_error && m_tellsServantEnd)
        std::rethrow_exception(m_error);
    constexpr std::string_view exit = "\xFF"
                                      "exit ";
    constexpr std::string_view signal = "\xFF"
                                        "signal ";
    std::string_view text = m_servantEnd;
    if (!text.ends_with('\n'))
        return false;
    text.remove_suffix(1);
    std::uint32_t number = 0;
    if (text.starts_with(exit) && ParseNumber(text.substr(exit.size()), number))
        end = {number, 0};
    else if (text.starts_with(signal) && ParseNumber(text.substr(signal.size()), number) && number != 0)
        end = {0, number};
    else
        return false;
    return true;
}

using SocketConnection = GenericServiceConnection<qpr::SocketReader, qpr::SocketWriter>;

ServantAnswer ReadAnswer(ICallContext& call, qpr::Socket& socket)
{
    qpr::PeekingInputStream bytes(socket, call.GetCancellation());
    ServantAnswer answer = ReadServantAnswer(bytes, call.ServiceName());
    bytes.Settle();
    return answer;
}

/// The end of the input is not told to a connection that is broken: its servant knows, and a read says what happened.
bool Converse(ICallContext& call, qpr::Socket& socket, const std::wstring& clientIdentifier,
    const std::function<bool(qxmi::ServantEnd&)>& awaitServantEnd)
{
    const qpr::Cancellation& cancellation = call.GetCancellation();
    auto reader = std::make_unique<qpr::SocketReader>(socket, cancellation);
    const ServantAnswer answer = ReadAnswer(call, socket);
    SocketConnection connection(std::move(reader), std::make_unique<qpr::SocketWriter>(socket, cancellation),
        {call.ServiceName(), clientIdentifier, answer.identification, false, 0},
        {[&socket] { socket.TryShutdown(qpr::Socket::Direction::Send); }, awaitServantEnd});
    return HandOverConnection(call, connection, answer.compressionProtocol);
}

} // namespace

/// A cancel ends both connections at once, so that the distributor knows at once that nobody waits for its servant.
void RunNetworkConversation(ICallContext& call, DistributorRequest& request, const ConversationSettings& settings)
{
    const qpr::Cancellation& cancellation = call.GetCancellation();
    qpr::Socket& mainSocket = request.MainSocket();
    NetworkLog log(request.LogSocket(), cancellation, request.TellsServantEnd());
    LogForwarder logForwarder(log, call.Log());
    const auto awaitServantEnd = [&](qxmi::ServantEnd& end)
    {
        qpr::Wait(cancellation).For(logForwarder.EndObject(), L"qxm::RunNetworkConversation");
        return log.ServantEnd(end);
    };
    const bool used =
        Attempt(call, [&] { return Converse(call, mainSocket, settings.client.identifier, awaitServantEnd); });

    const qpr::NonInterruptibleSection section;
    mainSocket.TryShutdown(qpr::Socket::Direction::Send);
    mainSocket.Close();
    GraceTimer grace;
    if (!used)
        grace.Start(graceTimeMs);
    grace.WaitFor(logForwarder.EndObject(), cancellation);
}

} // namespace qxm
