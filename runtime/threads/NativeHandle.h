#pragma once

#include "runtime/text/Panic.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace qpr
{

/// A handle of the operating system as an opaque value: a file descriptor, a HANDLE or a SOCKET. Owns nothing.
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

/// A handle, owned. Moves, does not copy; the destructor closes it. Kind says how: Close(NativeHandle) is false when
/// the system refuses, which also means that nothing was open; Fail() is the panic of a destructor that is refused.
template <class Kind>
class OwnedHandle
{
public:
    OwnedHandle() noexcept = default;
    explicit OwnedHandle(NativeHandle handle) noexcept
        : m_handle(handle)
    {
    }
    OwnedHandle(OwnedHandle&& other) noexcept
        : m_handle(other.Release())
    {
    }
    OwnedHandle& operator=(OwnedHandle&& other) noexcept
    {
        OwnedHandle taken(std::move(other)); // first, so that moving a handle to itself keeps it
        std::swap(m_handle, taken.m_handle);
        return *this;
    }
    ~OwnedHandle()
    {
        if (IsValid() && !Close())
            Kind::Fail();
    }

    bool Close() noexcept { return Kind::Close(Release()); }

    /// Gives the handle up without closing it.
    NativeHandle Release() noexcept { return std::exchange(m_handle, {}); }

    bool IsValid() const noexcept { return m_handle.IsValid(); }
    NativeHandle Get() const noexcept { return m_handle; }

private:
    NativeHandle m_handle;
};

/// A literal as a template argument.
template <std::size_t size>
struct Literal
{
    consteval Literal(const char (&literal)[size]) // NOLINT(google-explicit-constructor): stands for the literal
    {
        for (std::size_t i = 0; i < size; ++i)
            text[i] = literal[i];
    }

    char text[size];
};

/// Closes a file descriptor or a HANDLE; false, with the system's error number set, when the system refuses.
bool CloseSystemHandle(NativeHandle handle) noexcept;

template <Literal destructor, int line>
struct SystemHandleKind
{
    static bool Close(NativeHandle handle) noexcept { return CloseSystemHandle(handle); }
    [[noreturn]] static void Fail() noexcept { Panic("CloseHandle(m_handle)", destructor.text, line); }
};

/// A file descriptor or a HANDLE, owned. The panic of a failed close names the destructor.
template <Literal destructor, int line = __LINE__>
using SystemHandle = OwnedHandle<SystemHandleKind<destructor, line>>;

} // namespace qpr
