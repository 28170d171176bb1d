#pragma once

#include "runtime/Deadline.h"
#include "runtime/IWaiter.h"

#include <cstdint>

namespace qxd
{

/// Waits, also for an interrupt of the calling thread, up to a moment: however slowly something goes on, all of it
/// together is bounded. Then throws "The client took too long".
class DeadlineWaiter final : public qpr::IWaiter
{
public:
    explicit DeadlineWaiter(std::uint32_t timeoutMs)
        : m_deadline(timeoutMs)
    {
    }

    void Check() const override;
    void WaitFor(const qpr::WaitObject& object, const wchar_t* location) const override;

private:
    const qpr::Deadline m_deadline;
};

} // namespace qxd
