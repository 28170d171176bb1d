#pragma once

#include "runtime/text/windows/SystemHeaders.h"
#include "runtime/threads/NativeHandle.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qpr
{

inline HANDLE SystemHandleOf(NativeHandle handle) noexcept
{
    return reinterpret_cast<HANDLE>(handle.Value());
}

/// The system has two ways to say that there is no handle; both become an invalid one.
inline NativeHandle NativeHandleOf(HANDLE handle) noexcept
{
    return handle ? NativeHandle(reinterpret_cast<std::intptr_t>(handle)) : NativeHandle();
}

/// How much of so many bytes one system call is given: the system keeps a copy in its pool while nobody reads.
inline DWORD PieceSize(std::size_t size) noexcept
{
    return static_cast<DWORD>(std::min<std::size_t>(size, 1 << 20));
}

/// A handle, owned. Closing may fail; who cares calls Close.
class OwnedHandle
{
public:
    OwnedHandle() noexcept = default;
    explicit OwnedHandle(HANDLE handle) noexcept
        : m_handle(NativeHandleOf(handle))
    {
    }
    OwnedHandle(OwnedHandle&& other) noexcept
        : m_handle(std::exchange(other.m_handle, {}))
    {
    }
    OwnedHandle& operator=(OwnedHandle&& other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~OwnedHandle() { Close(); }

    /// False when the system refuses.
    bool Close() noexcept
    {
        const NativeHandle handle = std::exchange(m_handle, {});
        return !handle.IsValid() || CloseHandle(SystemHandleOf(handle));
    }

    bool IsValid() const noexcept { return m_handle.IsValid(); }
    HANDLE Value() const noexcept { return m_handle.IsValid() ? SystemHandleOf(m_handle) : nullptr; }
    NativeHandle Native() const noexcept { return m_handle; }

private:
    NativeHandle m_handle;
};

} // namespace qpr
