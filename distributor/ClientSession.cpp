#include "distributor/ClientSession.h"

#include "distributor/CallJournal.h"
#include "distributor/ClientConversation.h"
#include "distributor/JoinedCall.h"
#include "distributor/LogListener.h"
#include "runtime/text/Errors.h"

#include <chrono>
#include <iomanip>
#include <locale>
#include <sstream>
#include <utility>

namespace qxd
{
namespace
{

constexpr std::uint32_t logConnectionTimeMs = 10000; // short: a slot waits for it

using Clock = std::chrono::steady_clock;

std::wstring TimeSince(Clock::time_point start)
{
    std::wostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(3) << std::chrono::duration<double>(Clock::now() - start).count() << L" s";
    return text.str();
}

std::wstring Describe(const JoinedCall& call, const ServantOutcome& end)
{
    if (!call.Failure().empty())
        return call.Failure();
    if (!end.isExitCodeKnown || end.exitCode == 0)
        return L"done";
    return L"servant ended with exit code " + std::to_wstring(end.exitCode);
}

} // namespace

ClientSession::ClientSession(qpr::Socket socket, const qpr::SocketAddress& address,
    const SessionSurroundings& surroundings, std::function<void(ClientSession&)> onEnd)
    : m_socket(std::move(socket))
    , m_address(address)
    , m_surroundings(surroundings)
    , m_onEnd(std::move(onEnd))
    , m_subject(L"client " + address.ToText())
    , m_thread(*this, "qx session")
{
}

bool ClientSession::GiveUpReception()
{
    State receiving = State::Receiving;
    if (!m_state.compare_exchange_strong(receiving, State::GivenUp))
        return receiving == State::GivenUp;
    m_thread.Interrupt();
    return true;
}

void ClientSession::Run()
{
    try
    {
        Execute(ReceiveCall(m_socket, m_surroundings));
    }
    catch (const qpr::InterruptException&)
    {
        if (m_state == State::Accepted)
            m_surroundings.journal.WriteLine(m_subject + L": The distributor is stopping");
    }
    catch (const std::exception& error)
    {
        m_surroundings.journal.WriteLine(m_subject + L": " + qpr::ErrorText(error));
    }
    m_socket.Close();
    m_onEnd(*this);
}

void ClientSession::Execute(const CallOrder& order)
{
    m_subject = L"call " + order.service.name + L" of " + order.clientIdentifier + L" at " + m_address.ToText();
    // In the queue before the client knows: who is accepted first is served first.
    SlotQueue::Place place(m_surroundings.slots);
    State receiving = State::Receiving;
    if (!m_state.compare_exchange_strong(receiving, State::Accepted))
        throw qpr::InterruptException();
    const qpr::Wait wait = Attended(m_socket);
    ClientConversation conversation(m_socket, wait);
    conversation.WriteLine(qxm::serviceRequestAcceptedLine);
    if (!place.HasSlot())
    {
        conversation.Flush();
        wait.For(place.Decided(), L"qxd::ClientSession::Execute");
    }
    const Clock::time_point start = Clock::now();
    const std::unique_ptr<JoinedCall> call = StartServant(order, place, conversation);
    const std::wstring outcome = SeeThrough(*call, order, place);
    m_surroundings.journal.WriteLine(m_subject + L": " + outcome + L" after " + TimeSince(start));
}

std::unique_ptr<JoinedCall> ClientSession::StartServant(
    const CallOrder& order, SlotQueue::Place& place, ClientConversation& conversation)
{
    try
    {
        if (!place.HasSlot())
            throw qpr::RuntimeError(L"The distributor is stopping");
        // A servant is promised once it has been started; it comes up while the client connects.
        auto call = std::make_unique<JoinedCall>(m_socket);
        call->Start(m_surroundings.starter, order.ServantCommandLine());
        LogListener listener(m_socket.GetLocalAddress(), m_socket.GetRemoteAddress());
        conversation.WriteLine(qxm::logPortLinePrefix + std::to_wstring(listener.Port()));
        conversation.Flush();
        call->Join(listener.Accept(Attended(m_socket, logConnectionTimeMs)));
        return call;
    }
    catch (const std::exception& error)
    {
        place.Release();
        TellAndPartFrom(m_socket, conversation, qpr::ErrorText(error));
        throw;
    }
}

std::wstring ClientSession::SeeThrough(JoinedCall& call, const CallOrder& order, SlotQueue::Place& place)
{
    const ServantOutcome end = call.WaitForEnd();
    place.Release();
    if (call.ClientIsGone())
        return L"client gone";
    if (order.request.logServiceExecutionInfo)
        call.WriteExecutionInfo(order, m_surroundings.host, end);
    call.WriteFailure();
    if (order.request.servantEnd)
        call.WriteServantEnd(end);
    call.Finish();
    return Describe(call, end);
}

} // namespace qxd
