#include "runtime/named/ProcessMutex.h"

#include "runtime/named/posix/SharedObject.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/Deadline.h"
#include "runtime/threads/Thread.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

// Two locks in a row: one between this process's threads, which the kernel does not tell apart, then a file lock under
// /dev/shm, which is released when its owner's process ends. The file has two bytes. The first is 1 while the mutex is
// owned: a process that gets the file lock and finds the byte set knows that an owner died inside. The second is 1 when
// somebody had to wait since the last acquisition: a process that comes then waits first, because one that uses the
// mutex all the time would never let the others in.

namespace qpr
{

using namespace posix;

namespace
{

struct Content
{
    char isOwned = 0;
    char isWanted = 0;
};

/// The mutex is mostly held for microseconds: a waiter spins a few times, then pauses between its tries. It checks for
/// an interrupt at each try.
constexpr int spinTries = 16;
constexpr std::chrono::microseconds pauseBetweenTries(200);

} // namespace

struct ProcessMutex::State
{
    State(FileDescriptor opened, const ForkBlock& noFork)
        : file(std::move(opened), noFork, "qpr::ProcessMutex::~ProcessMutex")
    {
    }

    /// 0, EBUSY, EOWNERDEAD (the mutex is free again) or the system's error number.
    int TryLock(bool hasWaited) noexcept;
    int TryLockFile(bool hasWaited) noexcept;
    int TakeOver(bool hasWaited) noexcept;
    bool Write(Content content) noexcept { return pwrite(file.Value(), &content, sizeof content, 0) >= 0; }
    void ClearIsOwned() noexcept;
    void SetIsWanted() noexcept;

    LockDescriptor file;
    std::atomic<std::thread::id> owner; ///< of this process's threads
};

int ProcessMutex::State::TryLock(bool hasWaited) noexcept
{
    std::thread::id nobody;
    int error = EBUSY;
    if (owner.compare_exchange_strong(nobody, std::this_thread::get_id()))
    {
        error = TryLockFile(hasWaited);
        if (error != 0)
            owner = std::thread::id();
    }
    if (error == EBUSY)
        SetIsWanted();
    return error;
}

int ProcessMutex::State::TryLockFile(bool hasWaited) noexcept
{
    if (flock(file.Value(), LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? EBUSY : errno;
    const int error = TakeOver(hasWaited);
    if (error != 0)
        flock(file.Value(), LOCK_UN);
    return error;
}

/// Continues with what the file says. Requires: the file lock is held.
int ProcessMutex::State::TakeOver(bool hasWaited) noexcept
{
    Content content;
    if (pread(file.Value(), &content, sizeof content, 0) < 0)
        return errno;
    if (content.isOwned)
    {
        ClearIsOwned();
        return EOWNERDEAD;
    }
    if (content.isWanted && !hasWaited)
        return EBUSY;
    return Write({1, 0}) ? 0 : errno;
}

void ProcessMutex::State::ClearIsOwned() noexcept
{
    const char no = 0;
    (void)!pwrite(file.Value(), &no, sizeof no, offsetof(Content, isOwned));
}

void ProcessMutex::State::SetIsWanted() noexcept
{
    const char yes = 1;
    (void)!pwrite(file.Value(), &yes, sizeof yes, offsetof(Content, isWanted));
}

ProcessMutex::ProcessMutex() noexcept = default;

ProcessMutex::~ProcessMutex() = default;

void ProcessMutex::OpenOrCreate(const std::wstring& name, const SecurityDescriptor& security)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessMutex::OpenOrCreate");
    const ObjectName systemName(name);
    const ForkBlock noFork;
    SharedObject object = OpenOrCreateSharedObject(systemName, sizeof(Content), security);
    if (object.error != 0)
        ThrowObjectError(L"CreateMutex() failed", L"qpr::ProcessMutex::OpenOrCreate", object.error, systemName);
    m_state = std::make_unique<State>(std::move(object.file), noFork);
}

bool ProcessMutex::TryOpen(const std::wstring& name)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessMutex::TryOpen");
    const ObjectName systemName(name);
    const ForkBlock noFork;
    SharedObject object = OpenSharedObject(systemName, Access::ReadWrite);
    if (object.IsAbsent(systemName))
        return false;
    if (object.error != 0)
        ThrowObjectError(L"OpenMutex() failed", L"qpr::ProcessMutex::TryOpen", object.error, systemName);
    m_state = std::make_unique<State>(std::move(object.file), noFork);
    return true;
}

void ProcessMutex::Acquire(std::uint32_t timeoutMs)
{
    constexpr wchar_t function[] = L"qpr::ProcessMutex::Acquire";
    const Deadline deadline(timeoutMs);
    for (int tries = 0;; ++tries)
    {
        Thread::CheckInterrupt();
        const int error = m_state->TryLock(tries > spinTries || deadline.HasPassed());
        if (error == 0)
            return;
        if (error == EOWNERDEAD)
            throw AbandonedMutexError(std::wstring(L"Abandoned mutex encountered executing ") + function);
        if (error != EBUSY)
            ThrowSystemErrorWithNumber(L"WaitForSingleObjectEx() failed", function, static_cast<std::uint32_t>(error));
        if (deadline.HasPassed())
            throw TimeoutException(std::wstring(L"Timeout executing ") + function);
        if (tries < spinTries)
        {
            std::this_thread::yield();
            continue;
        }
        std::this_thread::sleep_for(pauseBetweenTries);
    }
}

void ProcessMutex::Release()
{
    constexpr wchar_t function[] = L"qpr::ProcessMutex::Release";
    if (m_state->owner.load() != std::this_thread::get_id())
        ThrowSystemErrorWithNumber(L"ReleaseMutex() failed", function, EPERM);
    m_state->ClearIsOwned();
    if (flock(m_state->file.Value(), LOCK_UN) != 0)
        ThrowSystemError(L"ReleaseMutex() failed", function);
    m_state->owner = std::thread::id();
}

bool ProcessMutex::HasName() const noexcept
{
    return HasLinks(m_state->file.Value());
}

} // namespace qpr
