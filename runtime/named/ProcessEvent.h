#pragma once

#include "runtime/named/SecurityDescriptor.h"
#include "runtime/threads/Thread.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qpr
{

/// A named auto-reset event between processes. It exists as long as the process that created it keeps it (on Windows as
/// long as anybody has it open); only that process waits for it, every process may signal it. Any thread may use the
/// object.
class ProcessEvent
{
public:
    ProcessEvent() noexcept;
    ~ProcessEvent();
    ProcessEvent(const ProcessEvent&) = delete;
    ProcessEvent& operator=(const ProcessEvent&) = delete;

    /// Throws "Event '<name>' already exists" when the name is taken, else "CreateEvent() failed".
    void Create(const std::wstring& name, const SecurityDescriptor& security);

    /// The same for a caller that can use another name: false when this one is taken.
    bool TryCreate(const std::wstring& name, const SecurityDescriptor& security);

    /// False when no process keeps an event of that name. Throws "OpenMutex() failed".
    bool TryOpen(const std::wstring& name);

    /// Never blocks; signalling a signalled event changes nothing. Throws "SetEvent() failed".
    void Signal();

    /// Waits interruptibly and takes the signal. Requires: created by this object. Throws TimeoutException.
    void Wait(std::uint32_t timeoutMs = Infinite);

    /// Whether others can still find it: where names are files, somebody may have removed the file.
    bool HasName() const noexcept;

    /// Frees the name.
    void Close() noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state; // null until created or opened
};

} // namespace qpr
