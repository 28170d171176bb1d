#include "distributor/ClientSession.h"

#include "distributor/CallJournal.h"
#include "distributor/ClientConversation.h"
#include "distributor/JoinedCall.h"
#include "distributor/LogListener.h"
#include "distributor/Reception.h"
#include "protocol/DistributorConversation.h"
#include "protocol/LogConnection.h"
#include "runtime/Errors.h"

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

std::wstring Describe(const ServantEnd& end)
{
    if (!end.isExitCodeKnown || end.exitCode == 0)
        return L"done";
    return L"servant ended with exit code " + std::to_wstring(end.exitCode);
}

/// A failure is for later: the client listens for it only once it has connected for its log.
std::exception_ptr TryStart(JoinedCall& call, IServantStarter& starter, const CallOrder& order)
{
    try
    {
        call.Start(starter, order.ServantCommandLine());
    }
    catch (const std::exception&)
    {
        return std::current_exception();
    }
    return nullptr;
}

/// Calls a function however the scope is left, an interrupt included.
class AtEnd
{
public:
    explicit AtEnd(std::function<void()> function)
        : m_function(std::move(function))
    {
    }
    ~AtEnd() { m_function(); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

private:
    const std::function<void()> m_function;
};

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

void ClientSession::GiveUpReception()
{
    if (!m_isAccepted)
        m_thread.Interrupt();
}

void ClientSession::Run()
{
    const AtEnd notice([this] { m_onEnd(*this); });
    Serve();
}

void ClientSession::Serve()
{
    try
    {
        const CallOrder order = ReceiveCall(m_socket, m_surroundings);
        m_subject =
            L"call " + order.service.info->name + L" of " + order.clientIdentifier + L" at " + m_address.ToText();
        Execute(order);
    }
    catch (const std::exception& error)
    {
        m_surroundings.journal.WriteLine(m_subject + L": " + qpr::ErrorText(error));
    }
    m_socket.Close();
}

void ClientSession::Execute(const CallOrder& order)
{
    // In the queue before the client knows: who is accepted first is served first.
    SlotQueue::Place place(m_surroundings.slots);
    m_isAccepted = true;
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
        const qpr::Wait wait = Attended(m_socket, logConnectionTimeMs);
        LogListener listener(m_socket.GetLocalAddress(), m_socket.GetRemoteAddress());
        conversation.WriteLine(qxm::logPortLinePrefix + std::to_wstring(listener.Port()));
        conversation.Flush();
        // The servant comes up while the client connects.
        auto call = std::make_unique<JoinedCall>(m_socket);
        const std::exception_ptr failure = TryStart(*call, m_surroundings.starter, order);
        qpr::Socket logSocket = listener.Accept(wait);
        if (failure)
            std::rethrow_exception(failure);
        call->Join(std::move(logSocket));
        return call;
    }
    catch (const std::exception& error)
    {
        place.Release();
        TellAndPartFrom(m_socket, qpr::ErrorText(error));
        throw;
    }
}

std::wstring ClientSession::SeeThrough(JoinedCall& call, const CallOrder& order, SlotQueue::Place& place)
{
    const ServantEnd end = call.WaitForEnd();
    place.Release();
    if (call.ClientIsGone())
        return L"client gone";
    if (order.logServiceExecutionInfo)
        call.WriteExecutionInfo(order, m_surroundings.host, end);
    call.Finish();
    return Describe(end);
}

} // namespace qxd
