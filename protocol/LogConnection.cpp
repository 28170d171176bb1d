#include "protocol/LogConnection.h"

#include "protocol/LineConversation.h"
#include "protocol/PeekingInputStream.h"
#include "protocol/Utf8Streams.h"
#include "runtime/Errors.h"

#include <string>

namespace qxm
{

void OpenLogConnection(qpr::Socket& mainSocket, qpr::Socket& logSocket, const qpr::Wait& wait)
{
    qpr::PeekingInputStream bytes(mainSocket, wait);
    qpr::UTF8InputStream text(bytes);
    const std::wstring line = ReadLine(text);
    bytes.Settle();

    // Lines are trimmed, so that one without a port lacks the prefix's own blank too.
    const std::wstring_view prefix = logPortLinePrefix;
    if (!line.starts_with(prefix))
        throw qpr::RuntimeError(L"Expected 'establish log connection to port <log port>' but got '" + line + L"'");
    const std::wstring host = mainSocket.GetRemoteAddress().ToText();
    const qpr::SocketAddress address = qpr::SocketAddress::Resolve(host, line.substr(prefix.size()));
    logSocket = qpr::Socket::Create(address.GetFamily());
    logSocket.Connect(address, wait);
}

} // namespace qxm
