#include "protocol/LogConnection.h"

#include "protocol/DistributorConversation.h"
#include "protocol/LineConversation.h"
#include "runtime/text/Errors.h"
#include "streams/SocketStreams.h"
#include "streams/Utf8Streams.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qxm
{
namespace
{

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

} // namespace

void OpenLogConnection(qpr::Socket& mainSocket, qpr::Socket& logSocket, const qpr::Wait& wait)
{
    const std::wstring line = ReadLineFrom(mainSocket, wait);
    // Lines are trimmed, so that one without a port lacks the prefix's own blank too.
    const std::wstring_view prefix = logPortLinePrefix;
    if (!line.starts_with(prefix))
        ThrowUnexpected(line);
    const std::wstring host = mainSocket.GetRemoteAddress().ToText();
    const qpr::SocketAddress address = qpr::SocketAddress::Resolve(host, line.substr(prefix.size()));
    logSocket = qpr::Socket::Create(address.GetFamily());
    try
    {
        Connect(logSocket, address, mainSocket, wait);
    }
    catch (const Refused&)
    {
        ThrowUnexpected(ReadLineFrom(mainSocket, qpr::Wait(wait).Until(qpr::Deadline(connectTimeMs))));
    }
}

} // namespace qxm
