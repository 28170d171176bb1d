#pragma once

#include "runtime/threads/NativeHandle.h"

namespace qpr
{

constexpr int DescriptorOf(NativeHandle handle) noexcept
{
    return static_cast<int>(handle.Value());
}

template <class Kind>
int DescriptorOf(const OwnedHandle<Kind>& handle) noexcept
{
    return DescriptorOf(handle.Get());
}

constexpr NativeHandle HandleOf(int descriptor) noexcept
{
    return NativeHandle(descriptor);
}

} // namespace qpr
