#pragma once

#include <cerrno>
#include <csignal>
#include <ctime>
#include <pthread.h>

namespace qpr
{

/// While it lives, a write of this thread to a broken pipe is only an error: SIGPIPE is blocked, and Consume takes the
/// one that the write left behind. The application's own handling of the signal stays as it is.
class SigPipeBlock
{
public:
    SigPipeBlock() noexcept
    {
        sigemptyset(&m_sigPipe);
        sigaddset(&m_sigPipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_sigPipe, &m_outerMask);
        m_wasBlocked = sigismember(&m_outerMask, SIGPIPE) == 1;
        m_wasPending = m_wasBlocked && IsPending();
    }

    ~SigPipeBlock()
    {
        if (!m_wasBlocked)
            pthread_sigmask(SIG_SETMASK, &m_outerMask, nullptr);
    }

    SigPipeBlock(const SigPipeBlock&) = delete;
    SigPipeBlock& operator=(const SigPipeBlock&) = delete;

    /// After a write that failed with EPIPE; keeps errno. A signal that was pending before is not ours to take.
    void Consume() const noexcept
    {
        if (m_wasPending)
            return;
        const int error = errno;
        const timespec noWait{};
        while (sigtimedwait(&m_sigPipe, nullptr, &noWait) < 0 && errno == EINTR)
            continue;
        errno = error;
    }

private:
    static bool IsPending() noexcept
    {
        sigset_t pending;
        return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t m_sigPipe;
    sigset_t m_outerMask;
    bool m_wasBlocked;
    bool m_wasPending;
};

} // namespace qpr
