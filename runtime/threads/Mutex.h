#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// Annotations that say which lock guards what. Clang checks them (-Wthread-safety); elsewhere they are empty.
#if defined(__clang__)
#define QX_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QX_THREAD_ANNOTATION(x)
#endif

#define QX_CAPABILITY(name) QX_THREAD_ANNOTATION(capability(name))
#define QX_SCOPED_CAPABILITY QX_THREAD_ANNOTATION(scoped_lockable)
#define QX_GUARDED_BY(lock) QX_THREAD_ANNOTATION(guarded_by(lock))
#define QX_REQUIRES(...) QX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define QX_EXCLUDES(...) QX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define QX_ACQUIRE(...) QX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define QX_RELEASE(...) QX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define QX_RETURN_CAPABILITY(lock) QX_THREAD_ANNOTATION(lock_returned(lock))
#define QX_NO_THREAD_SAFETY_ANALYSIS QX_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace qpr
{

/// A lock between threads of this process, known to Clang's analysis. Not for long waits: those go through Thread.
class QX_CAPABILITY("mutex") Mutex
{
public:
    void Lock() QX_ACQUIRE() { m_mutex.lock(); }
    void Unlock() QX_RELEASE() { m_mutex.unlock(); }

private:
    friend class ConditionVariable;
    std::mutex m_mutex;
};

class QX_SCOPED_CAPABILITY ScopedLock
{
public:
    explicit ScopedLock(Mutex& mutex) QX_ACQUIRE(mutex)
        : m_mutex(mutex)
    {
        m_mutex.Lock();
    }
    ~ScopedLock() QX_RELEASE() { m_mutex.Unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Mutex& m_mutex;
};

/// Lets threads of the application, which cannot be interrupted, wait for a change under a Mutex.
class ConditionVariable
{
public:
    /// Returns when notified, at the latest after the given time, and sometimes for no reason.
    void WaitFor(Mutex& mutex, std::uint32_t timeoutMs) QX_REQUIRES(mutex) QX_NO_THREAD_SAFETY_ANALYSIS
    {
        std::unique_lock<std::mutex> lock(mutex.m_mutex, std::adopt_lock);
        m_condition.wait_for(lock, std::chrono::milliseconds(timeoutMs));
        lock.release();
    }

    void NotifyAll() noexcept { m_condition.notify_all(); }

private:
    std::condition_variable m_condition;
};

} // namespace qpr
