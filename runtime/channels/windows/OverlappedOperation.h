#pragma once

#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/windows/Handle.h"

#include <cstdint>
#include <functional>

namespace qpr
{

/// One read or write that may be under way while its thread waits, and the event that its end sets. Used by one thread
/// at a time.
class OverlappedOperation
{
public:
    OverlappedOperation();

    /// For the system call that starts the operation.
    OVERLAPPED* Begin() noexcept;

    OVERLAPPED* Record() noexcept { return &m_record; }

    WaitObject Object() const noexcept { return m_ended.Object(); }

    /// Returns when the pending operation has ended. When the wait (for Object()) throws, the operation is cancelled
    /// and over by the time this throws too. A cancel that fails is a panic in the given function.
    void WaitForEnd(HANDLE handle, const std::function<void()>& wait, const char* function, int line);

    /// How many bytes the ended operation has moved. False, with the last error set, when it failed.
    bool TakeResult(HANDLE handle, DWORD& count) noexcept;

private:
    ThreadEvent m_ended;
    OVERLAPPED m_record{};
};

} // namespace qpr
