#pragma once

#include "runtime/Thread.h"
#include "worktable/SecurityDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace qpr
{

/// A named auto-reset event between processes. It exists as long as the process that created it keeps it (on Windows as
/// long as anybody has it open); only that one waits for it, everyone may signal it. Any thread may use the object.
class ProcessEvent
{
public:
    ProcessEvent() noexcept;
    ~ProcessEvent();
    ProcessEvent(const ProcessEvent&) = delete;
    ProcessEvent& operator=(const ProcessEvent&) = delete;

    /// Throws "Event '<name>' already exists" when some process has the name, else "CreateEvent() failed".
    void Create(const std::wstring& name, const SecurityDescriptor& security);

    /// False when no event has the name. Throws "OpenMutex() failed".
    bool TryOpen(const std::wstring& name);

    /// Never blocks; signalling a signalled event changes nothing. Throws "SetEvent() failed".
    void Signal();

    /// Waits interruptibly and takes the signal. Requires: created by this object. Throws TimeoutException.
    void Wait(std::uint32_t timeoutMs = Infinite);

    /// Gives the name free.
    void Close() noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state; // null until created or opened
};

/// Signals events of other processes by their number in a fixed list of names, at the least cost that does not keep an
/// event alive. One thread at a time.
class ProcessEventGroup
{
public:
    /// Throws "OpenMutex() failed".
    explicit ProcessEventGroup(std::span<const std::wstring> names);
    ~ProcessEventGroup();
    ProcessEventGroup(const ProcessEventGroup&) = delete;
    ProcessEventGroup& operator=(const ProcessEventGroup&) = delete;

    /// Does nothing when no process has created the event, or when it cannot be signalled.
    void Signal(std::size_t index) noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qpr
