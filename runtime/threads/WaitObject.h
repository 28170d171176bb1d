#pragma once

#include "runtime/threads/NativeHandle.h"

namespace qpr
{

/// Something a thread can wait for, as a value: it owns nothing, and what it names must outlive the wait.
class WaitObject
{
public:
    enum Kind
    {
        Kind_State, ///< signalled as long as its state lasts: a manual-reset event, the end of a thread or process
        Kind_AutoReset, ///< a satisfied wait takes the signal
        Kind_Readable, ///< a channel with data or its end
        Kind_Writable, ///< a channel with room, or broken
        Kind_PeerGone, ///< a channel that we write to and that has lost its reader
    };

    /// Names nothing; a wait for it fails.
    constexpr WaitObject() noexcept = default;

    constexpr WaitObject(NativeHandle handle, Kind kind) noexcept
        : m_handle(handle)
        , m_kind(kind)
    {
    }

    constexpr NativeHandle Handle() const noexcept { return m_handle; }
    constexpr Kind GetKind() const noexcept { return m_kind; }

private:
    NativeHandle m_handle;
    Kind m_kind = Kind_State;
};

} // namespace qpr
