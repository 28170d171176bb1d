#pragma once

#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/windows/Handle.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace qpr
{

/// Reads or writes, one after the other, each of which may be under way while its thread waits. Used by one thread at a
/// time.
class OverlappedOperation
{
public:
    /// The event is set at an operation's end. It is created here when it does not exist, so that its owner can keep it
    /// for later operations, and outlives this object.
    explicit OverlappedOperation(std::optional<ThreadEvent>& ended);

    /// For the system call that starts the operation.
    OVERLAPPED* Begin() noexcept;

    OVERLAPPED* Record() noexcept { return &m_record; }

    WaitObject Object() const noexcept { return m_ended.Object(); }

    /// Returns when the pending operation has ended. When the wait (for Object()) throws, the operation is cancelled
    /// and has ended by the time this throws too. A cancel that fails is a panic in the given function.
    void WaitForEnd(HANDLE handle, const std::function<void()>& wait, const char* function, int line);

    /// How many bytes the ended operation has moved. False, with the last error set, when it failed.
    bool TakeResult(HANDLE handle, DWORD& count) noexcept;

private:
    const ThreadEvent& m_ended;
    OVERLAPPED m_record{};
};

} // namespace qpr
