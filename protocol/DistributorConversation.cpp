#include "protocol/DistributorConversation.h"

#include "config/Arguments.h"
#include "protocol/LineConversation.h"
#include "runtime/text/Errors.h"
#include "runtime/text/WhiteSpace.h"
#include "streams/SocketStreams.h"
#include "streams/Utf8Streams.h"

#include <algorithm>

namespace qxm
{
namespace
{

constexpr Version minimumDistributorVersion{13, 0, 0};
constexpr std::size_t outputBufferSize = 1024;

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
    Conversation(qpr::Socket& socket, Introductions& introductions, const qpr::Wait& wait)
        : m_introductions(introductions)
        , m_inputBytes(socket, wait)
        , m_writer(socket, wait)
    {
    }

    /// The distributor, which has let us in.
    HostDescription ReadGreeting()
    {
        HostDescription distributor = m_introductions.ReadDistributor(ReadLine(m_input));
        std::wstring reason;
        if (!ReadPrompt(m_input, reason))
            throw qpr::RuntimeError(L"Client connection rejected by distributor: " + reason);
        if (!distributor.version.AtLeast(minimumDistributorVersion))
            throw qpr::RuntimeError(L"Distributor version too low");
        return distributor;
    }

    void LogIn()
    {
        WriteLine(m_introductions.ClientLine());
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

    Introductions& m_introductions; // not owned
    qpr::PeekingInputStream m_inputBytes;
    qpr::UTF8InputStream m_input{m_inputBytes};
    qpr::SocketWriter m_writer;
    qpr::SocketOutputStream m_outputBytes{m_writer, outputBufferSize};
    qpr::UTF8OutputStream m_output{m_outputBytes};
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
    Introductions& introductions, const qpr::Wait& wait)
{
    try
    {
        socket = qpr::Socket::Create(distributor.GetFamily());
        socket.Connect(distributor, qpr::Wait(wait).Until(qpr::Deadline(connectTimeMs)));
        socket.SendWithoutDelay();
        socket.EnableKeepAlive();
        Conversation conversation(socket, introductions, wait);
        request.servantEnd = Offers(conversation.ReadGreeting(), servantEndExtension);
        conversation.LogIn();
        conversation.SendRequest(request);
        return request.servantEnd;
    }
    catch (const std::exception& error)
    {
        throw qpr::RuntimeError(
            L"Error sending service request to distributor at " + distributor.ToText() + L": " + qpr::ErrorText(error));
    }
}

} // namespace qxm
