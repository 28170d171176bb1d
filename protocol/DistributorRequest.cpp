#include "protocol/DistributorRequest.h"

#include "config/Arguments.h"
#include "protocol/LineConversation.h"
#include "runtime/text/Errors.h"
#include "runtime/text/WhiteSpace.h"
#include "streams/SocketStreams.h"
#include "streams/Utf8Streams.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace qxm
{
namespace
{

constexpr Version minimumDistributorVersion{13, 0, 0};
constexpr std::size_t outputBufferSize = 1024;
constexpr std::uint32_t connectTimeMs = 10000; // for each of the two connections
constexpr std::uint32_t servantBufferSize = 65536;

/// A word of a line, between quotes where it needs them; there is no escape for what quotes cannot hold.
std::wstring QuotedServiceName(const std::wstring& name)
{
    const auto isControl = [](wchar_t character) { return character < L' '; };
    const bool hasDoubleQuote = name.find(L'"') != std::wstring::npos;
    const bool hasSingleQuote = name.find(L'\'') != std::wstring::npos;
    if (name.empty() || name.find(L'=') != std::wstring::npos || std::ranges::any_of(name, isControl)
        || (hasDoubleQuote && hasSingleQuote))
        throw qpr::RuntimeError(L"Invalid service name '" + name + L"'");
    if (hasDoubleQuote)
        return L'\'' + name + L'\'';
    if (hasSingleQuote || std::ranges::any_of(name, qpr::IsWhiteSpace))
        return L'"' + name + L'"';
    return name;
}

/// Whether the words after "<host>/<pid>" have this one among them.
bool Offers(const HostDescription& distributor, const std::wstring& extension)
{
    const std::wstring identifier = distributor.identifier + L'/';
    const std::size_t extensions = identifier.find(L'/', std::min(identifier.find(L'/') + 1, identifier.size()));
    return extensions != std::wstring::npos
        && identifier.find(L'/' + extension + L'/', extensions) != std::wstring::npos;
}

/// The lines of one conversation, over a connected socket: nothing is read beyond the lines asked for, so that the
/// socket can be handed on.
class Conversation
{
public:
    Conversation(qpr::Socket& socket, const qpr::Wait& wait)
        : m_inputBytes(socket, wait)
        , m_writer(socket, wait)
    {
    }

    /// The distributor, which has let us in.
    HostDescription ReadGreeting()
    {
        HostDescription distributor = HostDescription::Read(ReadLine(m_input), L"distributor");
        std::wstring reason;
        if (!ReadPrompt(m_input, reason))
            throw qpr::RuntimeError(L"Client connection rejected by distributor: " + reason);
        if (!distributor.version.AtLeast(minimumDistributorVersion))
            throw qpr::RuntimeError(L"Distributor version too low");
        return distributor;
    }

    void LogIn(const std::wstring& clientLine)
    {
        WriteLine(clientLine);
        std::wstring reason;
        if (!ReadPrompt(m_input, reason))
            throw qpr::RuntimeError(L"Client login rejected by distributor: " + reason);
    }

    void SendRequest(const DistributorServiceRequest& request)
    {
        WriteLine(BuildServiceRequestLine(request));
        const std::wstring reply = ReadLine(m_input);
        m_inputBytes.Settle();
        if (reply != serviceRequestAcceptedLine)
            throw qpr::RuntimeError(L"Service request rejected by distributor (" + reply + L")");
    }

private:
    void WriteLine(const std::wstring& line) { (m_output << line << L"\r\n").flush(); }

    qpr::PeekingInputStream m_inputBytes;
    qpr::UTF8InputStream m_input{m_inputBytes};
    qpr::SocketWriter m_writer;
    qpr::SocketOutputStream m_outputBytes{m_writer, outputBufferSize};
    qpr::UTF8OutputStream m_output{m_outputBytes};
};

std::wstring ReadLineFrom(qpr::Socket& socket, const qpr::Wait& wait)
{
    qpr::PeekingInputStream bytes(socket, wait);
    qpr::UTF8InputStream text(bytes);
    std::wstring line = ReadLine(text);
    bytes.Settle();
    return line;
}

[[noreturn]] void ThrowUnexpected(const std::wstring& line)
{
    throw qpr::RuntimeError(L"Expected 'establish log connection to port <log port>' but got '" + line + L"'");
}

/// The distributor has said why it will not come to a log connection.
class Refused
{
};

/// Whether the next line is there and is not the servant's answer, which some distributors pass on early.
bool HasRefused(const qpr::Socket& mainSocket)
{
    constexpr std::string_view answer = "servant ";
    char bytes[answer.size()];
    const std::optional<std::size_t> size = mainSocket.TryPeek(bytes, sizeof bytes);
    return size && (*size == 0 || !answer.starts_with({bytes, *size}));
}

void Connect(qpr::Socket& logSocket, const qpr::SocketAddress& address, const qpr::Socket& mainSocket, qpr::Wait wait)
{
    const auto onMainInput = [&mainSocket]() -> std::uint32_t
    {
        if (HasRefused(mainSocket))
            throw Refused();
        return qpr::Infinite;
    };
    wait.Until(qpr::Deadline(connectTimeMs)).Or(mainSocket.InputObject(), onMainInput);
    try
    {
        logSocket.Connect(address, wait);
    }
    catch (const qpr::RuntimeError&)
    {
        if (HasRefused(mainSocket))
            throw Refused();
        throw;
    }
}

/// Deliberately no std::exception, so that nothing on the way takes it for an error.
class GivenUp
{
};

} // namespace

std::wstring BuildServiceRequestLine(const DistributorServiceRequest& request)
{
    std::wstring line = L"call " + QuotedServiceName(request.serviceName) + L" WithLog=true";
    if (!request.attributes.empty())
        line += L" ServiceRequestAttributes=\"" + SerialiseAttributes(request.attributes) + L'"';
    if (!request.loopbackAllowed)
        line += L" LoopbackToLocalMachine=false";
    if (request.logServiceExecutionInfo)
        line += L" LogServiceExecutionInfo=true";
    if (request.servantEnd)
        line += L" ServantEnd=true";
    return line;
}

bool SendServiceRequest(qpr::Socket& socket, const qpr::SocketAddress& distributor, DistributorServiceRequest request,
    const std::wstring& clientLine, const qpr::Wait& wait)
{
    try
    {
        socket = qpr::Socket::Create(distributor.GetFamily());
        socket.Connect(distributor, qpr::Wait(wait).Until(qpr::Deadline(connectTimeMs)));
        socket.SendWithoutDelay();
        socket.EnableKeepAlive();
        Conversation conversation(socket, wait);
        request.servantEnd = Offers(conversation.ReadGreeting(), servantEndExtension);
        conversation.LogIn(clientLine);
        conversation.SendRequest(request);
        return request.servantEnd;
    }
    catch (const std::exception& error)
    {
        throw qpr::RuntimeError(
            L"Error sending service request to distributor at " + distributor.ToText() + L": " + qpr::ErrorText(error));
    }
}

DistributorRequest::DistributorRequest(std::wstring distributorHost, std::wstring distributorPort,
    DistributorServiceRequest request, std::wstring clientLine, qpr::Wait wait,
    std::optional<qpr::WaitObject> giveUpObject)
    : m_distributorHost(std::move(distributorHost))
    , m_distributorPort(std::move(distributorPort))
    , m_request(std::move(request))
    , m_clientLine(std::move(clientLine))
    , m_wait(std::move(wait))
    , m_giveUpObject(giveUpObject)
{
}

bool DistributorRequest::WaitUntilReady()
{
    qpr::Wait wait = m_wait;
    wait.SpinFirst();
    if (m_giveUpObject)
        wait.Or(*m_giveUpObject, []() -> std::uint32_t { throw GivenUp(); });
    try
    {
        Open(wait);
        return true;
    }
    catch (const GivenUp&)
    {
        m_mainSocket.Close();
        m_logSocket.Close();
        return false;
    }
}

void DistributorRequest::Open(const qpr::Wait& wait)
{
    const qpr::SocketAddress address =
        qpr::SocketAddress::Resolve(m_distributorHost, m_distributorPort, qpr::SocketAddress::Family::IPv4, wait);
    m_tellsServantEnd = SendServiceRequest(m_mainSocket, address, m_request, m_clientLine, wait);
    OpenLogConnection(wait);
    m_mainSocket.SetReceiveBufferSize(servantBufferSize);
    m_mainSocket.SetSendBufferSize(servantBufferSize);
    m_logSocket.SetReceiveBufferSize(servantBufferSize);
    m_logSocket.EnableKeepAlive();
}

void DistributorRequest::OpenLogConnection(const qpr::Wait& wait)
{
    const std::wstring line = ReadLineFrom(m_mainSocket, wait);
    // Lines are trimmed: one without a port lacks the prefix's own blank too.
    const std::wstring_view prefix = logPortLinePrefix;
    if (!line.starts_with(prefix))
        ThrowUnexpected(line);
    const std::wstring host = m_mainSocket.GetRemoteAddress().ToText();
    const qpr::SocketAddress address = qpr::SocketAddress::Resolve(host, line.substr(prefix.size()));
    m_logSocket = qpr::Socket::Create(address.GetFamily());
    try
    {
        Connect(m_logSocket, address, m_mainSocket, wait);
    }
    catch (const Refused&)
    {
        ThrowUnexpected(ReadLineFrom(m_mainSocket, qpr::Wait(wait).Until(qpr::Deadline(connectTimeMs))));
    }
}

} // namespace qxm
