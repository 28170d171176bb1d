#pragma once

#include <cstdint>

namespace qpr
{

/// An operating-system handle as an opaque value: a file descriptor, a HANDLE or a SOCKET. Owns nothing.
class NativeHandle
{
public:
    constexpr NativeHandle() noexcept = default;
    constexpr explicit NativeHandle(std::intptr_t value) noexcept
        : m_value(value)
    {
    }

    constexpr std::intptr_t Value() const noexcept { return m_value; }
    constexpr bool IsValid() const noexcept { return m_value != invalid; }
    friend constexpr bool operator==(NativeHandle, NativeHandle) noexcept = default;

private:
    static constexpr std::intptr_t invalid = -1;

    std::intptr_t m_value = invalid;
};

} // namespace qpr
