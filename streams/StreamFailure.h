#pragma once

#include "runtime/text/Errors.h"

#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace qpr
{

/// How a stream's buffer fails: the first error stays, each later use throws it again and does not reach the channel.
///
/// An exception that passes through a standard stream leaves it bad, and a bad stream throws the standard library's own
/// text at its next use. So the exceptions thrown here carry a guard: once one has been handled, on the thread that it
/// was thrown on, its stream is good again and the buffer is asked again. Nobody has to clear a stream.
class StreamFailure
{
public:
    StreamFailure() = default;
    StreamFailure(const StreamFailure&) = delete;
    StreamFailure& operator=(const StreamFailure&) = delete;

    /// Throws the first error, if there was one. An interrupt is one only for the thread that it ended, for others it
    /// is the runtime error "Call cancelled".
    void ThrowIfFailed() const
    {
        if (m_hasFailed)
            ThrowAgain();
    }

    /// How to make the stream over the buffer good again; called as long as the buffer lives.
    void ReviveStreamWith(std::function<void()> revive);

protected:
    ~StreamFailure();

    /// Does something on the channel. What it throws is kept: an interrupt, or else its text.
    template <class Operation>
    auto KeepFailure(Operation operation)
    {
        ThrowIfFailed();
        try
        {
            return operation();
        }
        catch (...)
        {
            KeepAndThrow();
        }
    }

    /// An error that the stream survives.
    [[noreturn]] void ThrowPassing(const std::wstring& text) const;

private:
    struct StreamLink;

    [[noreturn]] void KeepAndThrow();
    [[noreturn]] void ThrowAgain() const;
    std::shared_ptr<void> MakeGuard() const;

    bool m_hasFailed = false;
    std::wstring m_text;
    bool m_peerHasClosed = false; ///< the first error was a PeerClosedError
    std::thread::id m_interruptedThread; ///< none: the first error was no interrupt
    std::shared_ptr<StreamLink> m_link; ///< shared with the guards, which may outlive the stream
};

} // namespace qpr
