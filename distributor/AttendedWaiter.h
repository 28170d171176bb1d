#pragma once

#include "runtime/Deadline.h"
#include "runtime/IWaiter.h"
#include "runtime/Socket.h"

#include <cstdint>

namespace qxd
{

/// Waits for something that a client waits for too, and has nothing to say meanwhile. Throws "The client is gone", "The
/// client sent data before it had a servant" and, at a moment, "The client took too long".
class AttendedWaiter final : public qpr::IWaiter
{
public:
    /// The socket is not owned and outlives the waiter.
    explicit AttendedWaiter(const qpr::Socket& client, std::uint32_t timeoutMs = qpr::Infinite)
        : m_client(client)
        , m_deadline(timeoutMs)
    {
    }

    void Check() const override;
    void WaitFor(const qpr::WaitObject& object, const wchar_t* location) const override;

private:
    const qpr::Socket& m_client; // not owned
    const qpr::Deadline m_deadline;
};

} // namespace qxd
