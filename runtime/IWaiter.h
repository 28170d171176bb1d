#pragma once

#include "runtime/WaitObject.h"

namespace qpr
{

/// How an operation that would block waits: alone, until a call is cancelled, up to a deadline. Not owned by who uses
/// it. One that keeps no state of its own may serve several threads.
class IWaiter
{
public:
    virtual ~IWaiter() = default;

    /// Throws when the operation is to be given up, also when it would not block. Asked before each one.
    virtual void Check() const = 0;

    /// Returns once the object is signalled; throws to give the operation up. The location names the operation.
    virtual void WaitFor(const WaitObject& object, const wchar_t* location) const = 0;
};

} // namespace qpr
