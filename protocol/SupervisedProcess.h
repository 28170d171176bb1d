#pragma once

#include "protocol/GraceTime.h"
#include "protocol/LogForwarder.h"
#include "runtime/ChildProcess.h"
#include "runtime/NamedPipe.h"

#include <optional>
#include <ostream>

namespace qpr
{
class Cancellation;
}

namespace qxm
{

/// A child process whose log channel is forwarded to a stream until it ends. The destructor ends what is left of the
/// process and its group. Used by one thread.
class SupervisedProcess
{
public:
    /// Starts the process and the forwarding; takes over our end of its log channel. Throws what process and thread
    /// throw, with nothing left behind. The log outlives it.
    SupervisedProcess(const qpr::ProcessStart& start, qpr::PipeEnd logPipe, std::wostream& log);

    qpr::ChildProcess& Process() noexcept { return m_process; }

    /// Returns when the process has ended, by itself or by force: without limit of time unless cancelled or hurried,
    /// else within the grace time. What it leaves running of its group, and holding its log, is ended after the same
    /// time, and after the usual one when nothing was cancelled.
    qpr::ChildProcess::ExitStatus WaitForEnd(
        const qpr::Cancellation& cancellation, bool hurry, std::uint32_t graceMs = graceTimeMs);

private:
    void EndGroup(const qpr::Cancellation& cancellation, std::uint32_t graceMs);

    qpr::PipeEnd m_logPipe;
    qpr::ChildProcess m_process;
    qpr::PipeReader m_logReader;
    std::optional<LogForwarder> m_logForwarder; // last: stops first
};

} // namespace qxm
