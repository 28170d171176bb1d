#include "runtime/threads/Wait.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/Thread.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace qpr
{

namespace
{

constexpr std::chrono::microseconds spinTime(60); // about as long as sleeping and waking takes

} // namespace

/// What one turn of a wait watches, and for how long. A cancel wins over the object itself, which wins over the further
/// objects: they are asked before each operation.
struct Wait::Watch
{
    std::array<WaitObject, 1 + 1 + maxFurtherCount> objects;
    std::size_t count = 0;
    std::size_t own = 0; ///< the index of the object itself
    std::uint32_t leftMs = Infinite;

    void Add(const WaitObject& object) noexcept { objects[count++] = object; }

    /// Whether the object itself is signalled; otherwise another one is, or the time is up.
    bool WaitForOwn(const wchar_t* location, std::uint32_t timeoutMs, int line) const
    {
        if (count == 1)
            return Thread::TryWaitForObject(objects[0], location, timeoutMs, line);
        const int signalled = Thread::TryWaitForAnyObject({objects.data(), count}, location, timeoutMs, line);
        return signalled == static_cast<int>(own);
    }

    bool SpinForOwn(const wchar_t* location, int line) const
    {
        using Clock = std::chrono::steady_clock;
        for (const Clock::time_point end = Clock::now() + spinTime; Clock::now() < end; std::this_thread::yield())
        {
            if (WaitForOwn(location, 0, line))
                return true;
        }
        return false;
    }
};

Wait& Wait::Until(const Deadline& deadline, const wchar_t* error) noexcept
{
    m_deadline = deadline;
    m_lateError = error;
    return *this;
}

Wait& Wait::Or(const WaitObject& object, Meaning meaning)
{
    if (m_furtherCount == maxFurtherCount)
        throw std::logic_error("qpr::Wait::Or: Invalid number of objects");
    m_further[m_furtherCount++] = {object, std::move(meaning)};
    return *this;
}

Wait& Wait::SpinFirst() noexcept
{
    m_spinsFirst = true;
    return *this;
}

void Wait::Check() const
{
    AskAll(Begin({}, L"qpr::Wait::Check"), L"qpr::Wait::Check");
}

void Wait::For(const WaitObject& object, const wchar_t* location, int line) const
{
    Watch watch = Begin(object, location);
    for (std::size_t i = 0; i < m_furtherCount; ++i)
        watch.Add(m_further[i].object);
    if (m_spinsFirst && watch.SpinForOwn(location, line))
        return;
    while (!watch.WaitForOwn(location, watch.leftMs, line))
        watch = AskAll(Begin(object, location), location);
}

/// Throws when the wait is over, except for the further objects: they are not in the result yet.
Wait::Watch Wait::Begin(const WaitObject& object, const wchar_t* location) const
{
    Thread::CheckInterrupt();
    Watch watch;
    if (m_cancellation)
    {
        m_cancellation->ThrowIfCancelled();
        watch.Add(m_cancellation->Object());
    }
    watch.own = watch.count;
    watch.Add(object);
    watch.leftMs = m_deadline.LeftMs();
    if (watch.leftMs == 0 && m_lateError)
        throw RuntimeError(m_lateError);
    if (watch.leftMs == 0)
        throw TimeoutException(std::wstring(L"Timeout executing ") + location);
    return watch;
}

/// Calls what the signalled further objects mean, and adds the others to the watch.
Wait::Watch Wait::AskAll(Watch watch, const wchar_t* location) const
{
    for (std::size_t i = 0; i < m_furtherCount; ++i)
    {
        const Further& further = m_further[i];
        if (Thread::TryWaitForObject(further.object, location, 0))
            watch.leftMs = std::min(watch.leftMs, further.meaning());
        else
            watch.Add(further.object);
    }
    return watch;
}

} // namespace qpr
