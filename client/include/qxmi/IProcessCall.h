#pragma once

namespace qxmi
{

/// One external process started by CallProcess. Cancel and Wait may be called from any thread; references are taken and
/// dropped from one thread at a time. Slot order is part of the binary interface.
class IProcessCall
{
public:
    virtual ~IProcessCall() = default;

    /// Raises the reference count. CallProcess hands the call out with one reference.
    virtual void AddRef() = 0;

    /// Lowers the reference count and destroys the call at 0; a process still running is cancelled and waited for.
    virtual void Release() = 0;

    /// Asks for the process and everything it started to be ended, and returns without waiting.
    virtual void Cancel() = 0;

    /// Returns when the process has ended and its last line and notification have been delivered.
    virtual void Wait() = 0;
};

} // namespace qxmi
