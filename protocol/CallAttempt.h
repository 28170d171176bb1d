#pragma once

#include "protocol/ICallContext.h"
#include "runtime/threads/Thread.h"

#include <exception>

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

} // namespace qxm
