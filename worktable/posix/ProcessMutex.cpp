#include "worktable/ProcessMutex.h"

#include "runtime/Panic.h"
#include "runtime/Thread.h"
#include "worktable/posix/SharedObject.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>

// A robust, process-shared mutex in an object under /dev/shm: the kernel marks it when its owner ends while holding it.

namespace qpr
{

using namespace posix;

namespace
{

/// A waiter looks for an interrupt this often.
constexpr std::chrono::milliseconds slice(20);

struct SharedMutex
{
    static constexpr std::uint64_t expectedMark = 0x3158'4554'554D'5851 + sizeof(pthread_mutex_t); // "QXMUTEX1"

    std::uint64_t mark;
    pthread_mutex_t mutex;
};

int InitialiseMutex(pthread_mutex_t& mutex)
{
    pthread_mutexattr_t attributes;
    if (const int error = pthread_mutexattr_init(&attributes))
        return error;
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    const int error = pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return error;
}

SharedMutex* Map(int file)
{
    void* const address = mmap(nullptr, sizeof(SharedMutex), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    return address == MAP_FAILED ? nullptr : static_cast<SharedMutex*>(address);
}

int InitialiseSharedMutex(int file)
{
    SharedMutex* const shared = Map(file);
    if (shared == nullptr)
        return errno;
    const int error = InitialiseMutex(shared->mutex);
    shared->mark = SharedMutex::expectedMark;
    munmap(shared, sizeof *shared);
    return error;
}

/// What kind of mutex the library takes it for. It aborts the process over some kinds that we never make, so that a
/// damaged one must not get that far.
int KindOf(const pthread_mutex_t& mutex)
{
    return mutex.__data.__kind;
}

int OurKind()
{
    pthread_mutex_t mutex;
    InitialiseMutex(mutex);
    const int kind = KindOf(mutex);
    pthread_mutex_destroy(&mutex);
    return kind;
}

timespec ToTimespec(std::chrono::nanoseconds sinceEpoch)
{
    return {sinceEpoch.count() / 1'000'000'000, sinceEpoch.count() % 1'000'000'000};
}

/// By a clock that nobody sets, but for the thread sanitizer, which takes no notice of pthread_mutex_clocklock.
int LockWithin(pthread_mutex_t& mutex, std::chrono::nanoseconds time)
{
#if defined(__SANITIZE_THREAD__)
    const timespec end = ToTimespec(std::chrono::system_clock::now().time_since_epoch() + time);
    return pthread_mutex_timedlock(&mutex, &end);
#else
    const timespec end = ToTimespec(std::chrono::steady_clock::now().time_since_epoch() + time);
    return pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &end);
#endif
}

} // namespace

struct ProcessMutex::State
{
    State(const FileDescriptor& file, const std::wstring& name, const wchar_t* call, const wchar_t* function);
    ~State();

    int TryLock() noexcept { return KindOf(shared->mutex) == kind ? pthread_mutex_trylock(&shared->mutex) : EINVAL; }
    int WaitForLock(std::uint32_t timeoutMs);

    SharedMutex* shared = nullptr;
    const int kind = OurKind();
};

ProcessMutex::State::State(
    const FileDescriptor& file, const std::wstring& name, const wchar_t* call, const wchar_t* function)
{
    struct stat status;
    if (fstat(file.Value(), &status) != 0)
        ThrowSystemError(call, function);
    const bool hasSize = status.st_size == static_cast<off_t>(sizeof(SharedMutex));
    if (hasSize)
    {
        shared = Map(file.Value());
        if (shared == nullptr)
            ThrowSystemError(call, function);
    }
    if (!hasSize || shared->mark != SharedMutex::expectedMark || KindOf(shared->mutex) != kind)
    {
        if (shared != nullptr)
            munmap(shared, sizeof *shared);
        throw RuntimeError(L"Existing mutex '" + name + L"' is damaged");
    }
}

ProcessMutex::State::~State()
{
    if (munmap(shared, sizeof *shared) != 0)
        Panic("CloseHandle(m_handle)", "qpr::ProcessMutex::~ProcessMutex");
}

int ProcessMutex::State::WaitForLock(std::uint32_t timeoutMs)
{
    using Clock = std::chrono::steady_clock;
    const auto end =
        timeoutMs == Infinite ? Clock::time_point::max() : Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (auto now = Clock::now(); now < end; now = Clock::now())
    {
        Thread::CheckInterrupt();
        if (KindOf(shared->mutex) != kind)
            return EINVAL;
        const int result = LockWithin(shared->mutex, std::min<std::chrono::nanoseconds>(end - now, slice));
        if (result != ETIMEDOUT)
            return result;
    }
    return ETIMEDOUT;
}

ProcessMutex::ProcessMutex() noexcept = default;

ProcessMutex::~ProcessMutex() = default;

void ProcessMutex::OpenOrCreate(const std::wstring& name, const SecurityDescriptor& security)
{
    constexpr wchar_t function[] = L"qpr::ProcessMutex::OpenOrCreate";
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessMutex::OpenOrCreate");
    const SharedObject object =
        OpenOrCreateSharedObject(ObjectName(name), sizeof(SharedMutex), security, InitialiseSharedMutex);
    if (object.error != 0)
        ThrowSystemErrorWithNumber(L"CreateMutex() failed", function, static_cast<unsigned>(object.error));
    m_state = std::make_unique<State>(object.file, name, L"CreateMutex() failed", function);
}

bool ProcessMutex::TryOpen(const std::wstring& name)
{
    constexpr wchar_t function[] = L"qpr::ProcessMutex::TryOpen";
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessMutex::TryOpen");
    const ObjectName systemName(name);
    const SharedObject object = OpenSharedObject(systemName, Access::ReadWrite);
    if (object.IsAbsent(systemName))
        return false;
    if (object.error != 0)
        ThrowSystemErrorWithNumber(L"OpenMutex() failed", function, static_cast<unsigned>(object.error));
    m_state = std::make_unique<State>(object.file, name, L"OpenMutex() failed", function);
    return true;
}

void ProcessMutex::Acquire(std::uint32_t timeoutMs)
{
    constexpr wchar_t function[] = L"qpr::ProcessMutex::Acquire";
    Thread::CheckInterrupt();
    int result = m_state->TryLock();
    if (result == EBUSY)
        result = m_state->WaitForLock(timeoutMs);
    if (result == 0)
        return;
    if (result == ETIMEDOUT)
        throw TimeoutException(std::wstring(L"Timeout executing ") + function);
    if (result != EOWNERDEAD)
        ThrowSystemErrorWithNumber(L"WaitForSingleObjectEx() failed", function, static_cast<unsigned>(result));
    if (pthread_mutex_consistent(&m_state->shared->mutex) != 0 || pthread_mutex_unlock(&m_state->shared->mutex) != 0)
        Panic("ReleaseMutex(objectHandle)", "qpr::Thread::WaitForObject");
    throw AbandonedMutexError(std::wstring(L"Abandoned mutex encountered executing ") + function);
}

void ProcessMutex::Release()
{
    if (const int error = pthread_mutex_unlock(&m_state->shared->mutex))
        ThrowSystemErrorWithNumber(
            L"ReleaseMutex() failed", L"qpr::ProcessMutex::Release", static_cast<unsigned>(error));
}

} // namespace qpr
