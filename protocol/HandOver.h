#pragma once

#include "protocol/ICallContext.h"
#include "runtime/threads/Thread.h"

#include <exception>
#include <string>

namespace qxmi::internal
{
class IServiceConnectionExW;
}

namespace qxm
{

/// Makes one step of a call, which answers whether it went well. What leaves it is reported to the call and counts as
/// false; an interrupt, the way out of a cancelled call, is no error.
template <class Step>
bool Attempt(ICallContext& call, Step step)
{
    try
    {
        return step();
    }
    catch (const qpr::InterruptException&)
    {
        return false;
    }
    catch (...)
    {
        call.ReportError(std::current_exception());
        return false;
    }
}

/// Gives the connection to the call, compressed as the servant's protocol name asks (empty: as it is), and sends what
/// the call left in its buffers. True when the call used it without an error. An error is reported to the call and
/// nothing more is sent; one that a cancel caused is no error.
bool HandOverConnection(
    ICallContext& call, qxmi::internal::IServiceConnectionExW& connection, const std::wstring& compressionProtocol);

} // namespace qxm
