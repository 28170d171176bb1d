#include "runtime/channels/StandardStreams.h"

#include "runtime/channels/NamedPipe.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/Thread.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qpr
{

namespace
{

constexpr WaitObject inputObject(NativeHandle(STDIN_FILENO), WaitObject::Kind_Readable);

/// Opens the pipe or terminal behind the standard output once more, for a non-blocking mode of our own: the mode
/// belongs to the open file, which we share with whoever started us. Not open where that cannot be done; then the write
/// itself may block.
PipeEnd ReopenOutput()
{
    struct stat facts = {};
    const bool canBlock = ::fstat(STDOUT_FILENO, &facts) == 0 && (S_ISFIFO(facts.st_mode) || S_ISCHR(facts.st_mode));
    const bool isForWriting = (::fcntl(STDOUT_FILENO, F_GETFL) & O_ACCMODE) != O_RDONLY; // false for a placeholder
    if (!canBlock || !isForWriting)
        return PipeEnd();
    const int descriptor = ::open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    return descriptor < 0 ? PipeEnd() : PipeEnd(NativeHandle(descriptor));
}

/// Opened for the wrong direction, so that using it fails as using a closed stream does.
void OpenPlaceholder(int descriptor)
{
    if (::fcntl(descriptor, F_GETFD) >= 0)
        return;
    ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY); // takes the lowest free number: this one
}

} // namespace

void ReserveStandardStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        OpenPlaceholder(descriptor);
}

NativeHandle HandleOf(StandardStream stream) noexcept
{
    return NativeHandle(static_cast<int>(stream));
}

std::size_t StandardInput::Read(void* buffer, std::size_t size)
{
    for (;;)
    {
        Thread::WaitForObject(inputObject, L"qpr::StandardInput::Read");
        const ssize_t count = ::read(STDIN_FILENO, buffer, size);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR && errno != EAGAIN)
            ThrowSystemError(L"ReadFile() failed", L"qpr::StandardInput::Read");
    }
}

bool StandardInput::InputPending()
{
    return Thread::TryWaitForObject(inputObject, L"qpr::StandardInput::InputPending", 0);
}

struct StandardOutput::State
{
    PipeEnd reopened = ReopenOutput();
    IOWriter writer = IOWriter(reopened.IsOpen() ? reopened.Handle() : NativeHandle(STDOUT_FILENO));
};

StandardOutput::StandardOutput()
    : m_state(std::make_unique<State>())
{
}

StandardOutput::~StandardOutput() = default;

void StandardOutput::Write(const void* buffer, std::size_t size)
{
    m_state->writer.Write(buffer, size);
}

} // namespace qpr
