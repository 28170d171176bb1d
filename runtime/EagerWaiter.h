#pragma once

#include "runtime/IWaiter.h"

namespace qpr
{

/// Looks for what it waits for a few dozen microseconds before it waits as another waiter does. For the lines of a
/// conversation: a peer on the same computer answers sooner than a sleeping thread is woken. Other threads that want
/// the processor get it meanwhile.
class EagerWaiter final : public IWaiter
{
public:
    /// The other waiter is not owned and outlives this one.
    explicit EagerWaiter(const IWaiter& other) noexcept
        : m_other(other)
    {
    }

    void Check() const override { m_other.Check(); }
    void WaitFor(const WaitObject& object, const wchar_t* location) const override;

private:
    const IWaiter& m_other; // not owned
};

} // namespace qpr
