#include "runtime/named/ProcessEvent.h"

#include "runtime/named/posix/SharedObject.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"

#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

// An event is a FIFO under /dev/shm, beside the other objects; a signal is a byte in it, and a full FIFO is signalled
// already. The event exists while its creator holds a lock on the file, which ends with that process in any case; a
// file that a dead creator left is taken over. Everybody opens the FIFO for reading and writing: with one end only,
// opening blocks, or a write ends the writer by a signal.

namespace qpr
{

using namespace posix;

namespace
{

/// Bounded: somebody may create and remove a name as fast as we look for it.
constexpr int maximumAttempts = 100;

constexpr std::size_t capacity = 4096; // of a FIFO: the least that the system offers

int MakeFifo(const ObjectName& name, const SecurityDescriptor& security)
{
    if (name.isGlobal && geteuid() != 0)
        return EPERM;
    const unsigned mode = FileMode(name, security);
    if (mkfifo(name.Path().c_str(), mode) != 0)
        return errno;
    // The mode given at creation does not do: the process's umask narrows it.
    return fchmodat(AT_FDCWD, name.Path().c_str(), mode, 0) == 0 ? 0 : errno;
}

struct flock WholeFile() noexcept
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// False when another process holds the lock.
bool TryLock(int file) noexcept
{
    struct flock lock = WholeFile();
    return fcntl(file, F_OFD_SETLK, &lock) == 0;
}

bool IsLocked(int file) noexcept
{
    struct flock lock = WholeFile();
    return fcntl(file, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

/// Takes all bytes out. Bounded, since somebody may write as fast as we read.
void Drain(int fifo) noexcept
{
    constexpr int maximumReads = 16;
    char bytes[capacity];
    for (int i = 0; i < maximumReads && read(fifo, bytes, sizeof bytes) == static_cast<ssize_t>(sizeof bytes); ++i)
    {
    }
}

} // namespace

struct ProcessEvent::State
{
    State(FileDescriptor file, const ForkBlock& noFork, const ObjectName& fileName, bool isOurs)
        : fifo(std::move(file), noFork, "qpr::ProcessEvent::~ProcessEvent")
        , name(fileName)
        , isCreator(isOurs)
    {
    }

    void RemoveName() const noexcept;

    LockDescriptor fifo;
    ObjectName name;
    bool isCreator;
};

/// Leaves the computer's events: only root could create them again.
void ProcessEvent::State::RemoveName() const noexcept
{
    struct stat own, named;
    const bool isStillOurs = fstat(fifo.Value(), &own) == 0 && lstat(name.Path().c_str(), &named) == 0
        && own.st_dev == named.st_dev && own.st_ino == named.st_ino;
    if (isCreator && !name.isGlobal && isStillOurs)
        unlink(name.Path().c_str());
}

ProcessEvent::ProcessEvent() noexcept = default;

ProcessEvent::~ProcessEvent()
{
    Close();
}

void ProcessEvent::Create(const std::wstring& name, const SecurityDescriptor& security)
{
    if (!TryCreate(name, security))
    {
        const std::wstring obstacle = ObstacleAt(ObjectName(name), FileKind::Fifo);
        throw RuntimeError(
            L"Event '" + name + L"' already exists" + (obstacle.empty() ? obstacle : L" (" + obstacle + L')'));
    }
}

bool ProcessEvent::TryCreate(const std::wstring& name, const SecurityDescriptor& security)
{
    constexpr wchar_t text[] = L"CreateEvent() failed";
    constexpr wchar_t function[] = L"qpr::ProcessEvent::Create";
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessEvent::Create");
    const ObjectName systemName(name);
    const ForkBlock noFork;
    for (int attempt = 0; attempt < maximumAttempts; ++attempt)
    {
        SharedObject object = OpenSharedObject(systemName, Access::ReadWrite, FileKind::Fifo);
        if (object.error == ENOENT)
        {
            const int error = MakeFifo(systemName, security);
            if (error == EPERM)
                return false;
            if (error != 0 && error != EEXIST)
                ThrowObjectError(text, function, error, systemName);
            continue;
        }
        if (object.error == EPERM || object.error == EACCES)
            return false;
        if (object.error != 0)
            ThrowObjectError(text, function, object.error, systemName);
        const int fifo = DescriptorOf(object.file);
        if (!TryLock(fifo))
            return false;
        if (!HasLinks(fifo))
            continue; // its creator removed the name before we had the lock
        m_state = std::make_unique<State>(std::move(object.file), noFork, systemName, true);
        fcntl(fifo, F_SETPIPE_SZ, static_cast<int>(capacity));
        Drain(fifo);
        return true;
    }
    ThrowObjectError(text, function, EAGAIN, systemName);
}

bool ProcessEvent::TryOpen(const std::wstring& name)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessEvent::TryOpen");
    const ObjectName systemName(name);
    const ForkBlock noFork;
    SharedObject object = OpenSharedObject(systemName, Access::ReadWrite, FileKind::Fifo);
    if (object.error == ENOENT || object.error == EPERM)
        return false;
    if (object.error != 0)
        ThrowObjectError(L"OpenMutex() failed", L"qpr::ProcessEvent::TryOpen", object.error, systemName);
    if (!IsLocked(DescriptorOf(object.file)))
        return false;
    m_state = std::make_unique<State>(std::move(object.file), noFork, systemName, false);
    return true;
}

void ProcessEvent::Signal()
{
    const char signal = 1;
    if (write(m_state->fifo.Value(), &signal, sizeof signal) < 0 && errno != EAGAIN)
        ThrowSystemError(L"SetEvent() failed", L"qpr::ProcessEvent::Signal");
}

void ProcessEvent::Wait(std::uint32_t timeoutMs)
{
    if (!m_state->isCreator)
        throw std::logic_error("qpr::ProcessEvent::Wait: not the creator");
    Thread::WaitForObject({m_state->fifo.Get(), WaitObject::Kind_Readable}, L"qpr::ProcessEvent::Wait", timeoutMs);
    Drain(m_state->fifo.Value());
}

void ProcessEvent::Close() noexcept
{
    if (!m_state)
        return;
    m_state->RemoveName();
    m_state.reset();
}

bool ProcessEvent::HasName() const noexcept
{
    return HasLinks(m_state->fifo.Value());
}

} // namespace qpr
