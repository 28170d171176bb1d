#pragma once

#include "client/InterfaceObject.h"
#include "runtime/processes/ChildProcess.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Thread.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <qxmi/IProcessCall.h>
#include <qxmi/IProcessRequestW.h>
#include <string>

namespace QxClient
{

/// Cuts a process's output into lines for its request; a line longer than 65536 characters comes in pieces. Used by one
/// thread at a time. What the request throws is ignored.
class LineLog
{
public:
    explicit LineLog(qxmi::IProcessRequestW& request)
        : m_request(request)
    {
    }

    void Write(const wchar_t* text, std::size_t length);
    void Flush() noexcept { }

    /// Passes on a last line without its line end.
    void Finish();

private:
    void PassOn();

    qxmi::IProcessRequestW& m_request; // not owned
    std::wstring m_line;
};

} // namespace QxClient

namespace qxmi
{
class IProcessRequestW;
}

namespace QxClient
{

/// One external process, followed on a thread of its own: its standard input is empty, its two output streams go to the
/// request line by line.
class ProcessCall final : public InterfaceObject<qxmi::IProcessCall>, public qpr::IRunnable
{
public:
    /// Asks the request what to start and starts the thread. Throws "Missing executable path in process request", and
    /// what the request throws.
    explicit ProcessCall(qxmi::IProcessRequestW& request);

    void Cancel() override;
    void Wait() override;

private:
    void Destroy() override;
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
