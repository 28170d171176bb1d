#pragma once

#include "runtime/named/SecurityDescriptor.h"
#include "runtime/threads/Thread.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qpr
{

/// A named lock between processes, and between the threads of one, which may share the object. Not recursive; released
/// by the thread that acquired it. It is free again when its owner's process ends: after an AbandonedMutexError what it
/// guards may be half written.
class ProcessMutex
{
public:
    ProcessMutex() noexcept;
    ~ProcessMutex();
    ProcessMutex(const ProcessMutex&) = delete;
    ProcessMutex& operator=(const ProcessMutex&) = delete;

    /// Requires: not open yet (else a panic). Throws "CreateMutex() failed".
    void OpenOrCreate(const std::wstring& name, const SecurityDescriptor& security);

    /// False when no mutex has the name. Requires: not open yet (else a panic). Throws "OpenMutex() failed".
    bool TryOpen(const std::wstring& name);

    /// Waits interruptibly for ownership. Throws TimeoutException, AbandonedMutexError.
    void Acquire(std::uint32_t timeoutMs);

    /// Throws "ReleaseMutex() failed" when the calling thread is not the owner.
    void Release();

    /// Whether others can still find it: where names are files, somebody may have removed the file.
    bool HasName() const noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state; // null until open
};

} // namespace qpr
