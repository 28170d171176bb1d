#pragma once

#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/ThreadEvent.h"

#include <functional>
#include <ostream>

namespace qpr
{
class IReader;
}

namespace qxm
{

/// Copies a servant's log channel into its call's log (RequestLog, for a service call) on a thread of its own, as it
/// comes, until the channel ends. While it runs nobody else writes the log. The reader and the log outlive it. A log
/// never ends a call: bytes that are no UTF-8 become U+FFFD, and a channel that fails has ended.
class LogForwarder final : private qpr::IRunnable
{
public:
    /// What `afterwards` does on the thread belongs to the channel's end.
    LogForwarder(qpr::IReader& reader, std::wostream& log, std::function<void()> afterwards = {});

    /// Signalled once the channel has ended and all of it is in the log.
    qpr::WaitObject EndObject() const noexcept { return m_ended.Object(); }

private:
    void Run() override;
    void Forward();
    void HandleError(const std::exception&) override { }

    qpr::IReader& m_reader; // not owned
    std::wostream& m_log; // not owned
    const std::function<void()> m_afterwards;
    qpr::ThreadEvent m_ended;
    qpr::Thread m_thread; // last: starts when the rest is there, interrupted and joined first
};

} // namespace qxm
