#pragma once

#include <string>

namespace qxmi::internal
{
class IServiceConnectionExW;
}

namespace qxm
{

class ICallContext;

/// Gives the connection to the call, compressed as the servant's protocol name asks (empty: as it is), and sends what
/// the call left in its buffers. True when the call used it without an error. An error is reported to the call and
/// nothing more is sent; one that a cancel caused is no error.
bool HandOverConnection(
    ICallContext& call, qxmi::internal::IServiceConnectionExW& connection, const std::wstring& compressionProtocol);

} // namespace qxm
