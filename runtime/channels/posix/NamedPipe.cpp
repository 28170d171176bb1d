#include "runtime/channels/NamedPipe.h"

#include "runtime/text/CheckedIntCast.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/posix/Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

// Our end does not block: an operation is tried first, and only when the pipe is empty or full does a wait that can be
// interrupted stand between two tries.

namespace qpr
{

namespace
{

bool StopBlocking(NativeHandle handle) noexcept
{
    return fcntl(DescriptorOf(handle), F_SETFL, O_NONBLOCK) == 0;
}

} // namespace

PipePair::PipePair(End serverEnd, End clientEnd)
{
    int descriptors[2];
    if (pipe2(descriptors, O_CLOEXEC) != 0)
        ThrowSystemError(L"CreateNamedPipe() failed", L"qpr::ServerPipeEnd::ServerPipeEnd", 173);
    server = PipeEnd(HandleOf(descriptors[0]));
    client = PipeEnd(HandleOf(descriptors[1]));
    if ((serverEnd == End::Ours && !StopBlocking(server.Handle()))
        || (clientEnd == End::Ours && !StopBlocking(client.Handle())))
    {
        ThrowSystemError(L"CreateNamedPipe() failed", L"qpr::ServerPipeEnd::ServerPipeEnd", 173);
    }
}

std::size_t IOReader::Read(void* buffer, std::size_t size)
{
    m_wait.Check();
    for (;;)
    {
        const ssize_t count = read(DescriptorOf(m_handle), buffer, size);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno == EAGAIN)
            m_wait.For({m_handle, WaitObject::Kind_Readable}, L"qpr::IOReader::Read");
        else if (errno != EINTR)
            ThrowSystemError(L"ReadFile/GetOverlappedResult() failed", L"qpr::IOReader::Read");
    }
}

bool PipeReader::InputPending()
{
    CheckWait();
    pollfd entry{DescriptorOf(m_handle), POLLIN, 0};
    if (poll(&entry, 1, 0) < 0 && errno != EINTR)
        ThrowSystemError(L"PeekNamedPipe() failed", L"qpr::PipeReader::InputPending", 265);
    if (entry.revents & POLLNVAL)
        ThrowSystemErrorWithNumber(L"PeekNamedPipe() failed", L"qpr::PipeReader::InputPending", EBADF, 265);
    return entry.revents != 0;
}

std::size_t PipeReader::Available() const noexcept
{
    int count = 0;
    return ioctl(DescriptorOf(m_handle), FIONREAD, &count) == 0 ? static_cast<std::size_t>(count) : 0;
}

namespace
{

/// While it lives, a write of this thread to a broken pipe is only an error: SIGPIPE is blocked, and Consume takes the
/// one that the write has caused. The application's own handling of the signal stays as it is.
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

[[noreturn]] void ThrowWriteError(std::uint32_t error)
{
    const wchar_t* const text = L"WriteFile/GetOverlappedResult() failed";
    if (error == EPIPE)
        throw PeerClosedError(SystemErrorMessage(text, L"qpr::IOWriter::Write", 65, error));
    ThrowSystemErrorWithNumber(text, L"qpr::IOWriter::Write", error, 65);
}

} // namespace

void IOWriter::Write(const void* buffer, std::size_t size)
{
    std::size_t left = CheckedIntCast<std::uint32_t>(size);
    const auto* next = static_cast<const char*>(buffer);
    m_wait.Check();
    const SigPipeBlock block;
    for (;;)
    {
        const ssize_t count = write(DescriptorOf(m_handle), next, left);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && errno != EAGAIN)
        {
            block.Consume();
            ThrowWriteError(static_cast<std::uint32_t>(errno));
        }
        const auto written = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        next += written;
        left -= written;
        if (left == 0)
            break;
        m_wait.For({m_handle, WaitObject::Kind_Writable}, L"qpr::IOWriter::Write");
    }
    Thread::CheckInterrupt();
}

} // namespace qpr
