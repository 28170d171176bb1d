#pragma once

#include "protocol/ByteStreams.h"
#include "runtime/Socket.h"

namespace qpr
{

using SocketInputStream = GenericInputStream<SocketReader>;
using SocketOutputStream = GenericOutputStream<SocketWriter>;

} // namespace qpr
