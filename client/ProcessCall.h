#pragma once

#include "runtime/Cancellation.h"
#include "runtime/ChildProcess.h"
#include "runtime/IRunnable.h"
#include "runtime/Mutex.h"
#include "runtime/ReferenceCounted.h"
#include "runtime/Thread.h"

#include <qxmi/IProcessCall.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>

namespace qxmi
{
class IProcessRequestW;
}

namespace QxClient
{

/// One external process, followed on a thread of its own: its standard input is empty, its two output streams go to the
/// request line by line.
class ProcessCall final : public qxmi::IProcessCall, public qpr::ReferenceCounted, public qpr::IRunnable
{
public:
    /// Asks the request what to start and starts the thread. Throws "Missing executable path in process request", and
    /// what the request throws.
    explicit ProcessCall(qxmi::IProcessRequestW& request);

    void AddRef() override;
    void Release() override;
    void Cancel() override;
    void Wait() override;

private:
    void Run() override;
    void HandleError(const std::exception&) override { }

    /// The exit code; none when cancelled.
    std::optional<std::uint32_t> Follow();
    void Notify(const std::optional<std::uint32_t>& exitCode);
    void SetEnded() QX_EXCLUDES(m_lock);

    qxmi::IProcessRequestW& m_request; // not owned: lives until the call has ended
    qpr::ProcessStart m_start;
    qpr::Cancellation m_cancellation;
    qpr::Mutex m_lock;
    qpr::ConditionVariable m_endedChanged;
    bool m_hasEnded QX_GUARDED_BY(m_lock) = false;
    std::unique_ptr<qpr::Thread> m_thread;
};

} // namespace QxClient
