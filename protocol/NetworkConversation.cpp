#include "protocol/DistributorRequest.h"
#include "protocol/GenericServiceConnection.h"
#include "protocol/GraceTime.h"
#include "protocol/HandOver.h"
#include "protocol/LogForwarder.h"
#include "protocol/NetworkLog.h"
#include "protocol/ServantAnswer.h"
#include "protocol/ServantConversation.h"
#include "runtime/channels/Socket.h"
#include "runtime/threads/Cancellation.h"
#include "streams/SocketStreams.h"

#include <functional>

namespace qxm
{

namespace
{

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
