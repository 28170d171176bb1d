#pragma once

#include "runtime/channels/Socket.h"

namespace qxm
{

/// How a distributor tells the port of the log connection; the port follows.
inline constexpr wchar_t logPortLinePrefix[] = L"establish log connection to port ";

/// Reads the log-port line from the main socket and connects the log socket, which is created here, to that port of the
/// host that the main connection reached. Throws "Expected 'establish log connection to port <log port>' but got
/// '<line>'", also when the distributor says something else while the connection is being made.
void OpenLogConnection(qpr::Socket& mainSocket, qpr::Socket& logSocket, const qpr::Wait& wait);

} // namespace qxm
