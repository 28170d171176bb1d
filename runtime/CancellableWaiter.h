#pragma once

#include "runtime/IWaiter.h"

namespace qpr
{

class Cancellation;

/// Waits without limit, for an interrupt of the calling thread and for a cancel. The cancellation may be null, is not
/// owned and outlives the waiter.
class CancellableWaiter final : public IWaiter
{
public:
    explicit CancellableWaiter(const Cancellation* cancellation = nullptr) noexcept
        : m_cancellation(cancellation)
    {
    }

    void Check() const override;
    void WaitFor(const WaitObject& object, const wchar_t* location) const override;

private:
    const Cancellation* m_cancellation; // not owned, may be null
};

} // namespace qpr
