#pragma once

#include "runtime/text/windows/SystemHeaders.h"
#include "runtime/threads/NativeHandle.h"

#include <algorithm>
#include <cstddef>

namespace qpr
{

inline HANDLE SystemHandleOf(NativeHandle handle) noexcept
{
    return reinterpret_cast<HANDLE>(handle.Value());
}

/// The system says "no handle" in two ways, null and INVALID_HANDLE_VALUE; both become an invalid one.
inline NativeHandle NativeHandleOf(HANDLE handle) noexcept
{
    return handle ? NativeHandle(reinterpret_cast<std::intptr_t>(handle)) : NativeHandle();
}

/// Null when there is none.
template <class Kind>
HANDLE SystemHandleOf(const OwnedHandle<Kind>& handle) noexcept
{
    return handle.IsValid() ? SystemHandleOf(handle.Get()) : nullptr;
}

/// The size of the next piece of so many bytes. A system call is given no more: the system keeps a copy in its pool
/// while nobody reads.
inline DWORD PieceSize(std::size_t size) noexcept
{
    return static_cast<DWORD>(std::min<std::size_t>(size, 1 << 20));
}

} // namespace qpr
