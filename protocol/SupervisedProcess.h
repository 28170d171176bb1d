#pragma once

#include "protocol/GraceTime.h"
#include "protocol/LogForwarder.h"
#include "runtime/channels/NamedPipe.h"
#include "runtime/processes/ChildProcess.h"

#include <functional>
#include <optional>
#include <ostream>

namespace qpr
{
class Cancellation;
}

namespace qxm
{

/// A child process whose log channel is forwarded to a stream until it ends: at the latest when the grace time after
/// the process's own end is over, whoever holds the channel then. The destructor ends what is left of the process and
/// its group. Used by one thread.
class SupervisedProcess
{
public:
    /// Starts the process and the forwarding; takes over our end of its log channel. Throws what process and thread
    /// throw, with nothing left behind. The log outlives it. onEnd is called when the process itself has ended, at
    /// least once, on the thread that forwards the log.
    SupervisedProcess(
        const qpr::ProcessStart& start, qpr::PipeEnd logPipe, std::wostream& log, std::function<void()> onEnd = [] {});

    qpr::ChildProcess& Process() noexcept { return m_process; }
    const qpr::ChildProcess& Process() const noexcept { return m_process; }

    /// The time in which process and group have to end.
    GraceTimer& Grace() noexcept { return m_grace; }

    /// Returns when the process has ended, by itself or by force: without limit of time before the grace time has been
    /// started, and a cancel starts it with this length. What the process leaves running of its group, and holding its
    /// log, is ended after what is left of that time, and of the usual one when nothing was cancelled.
    qpr::ChildProcess::ExitStatus WaitForEnd(
        const qpr::Cancellation& cancellation, std::uint32_t timeAfterCancelMs = graceTimeMs);

private:
    std::uint32_t AllowForLog();
    void AwaitEnd();

    const std::function<void()> m_onEnd;
    GraceTimer m_grace;
    qpr::PipeEnd m_logPipe;
    qpr::ChildProcess m_process;
    qpr::PipeReader m_logReader;
    std::optional<LogForwarder> m_logForwarder; // last: stops first
};

} // namespace qxm
