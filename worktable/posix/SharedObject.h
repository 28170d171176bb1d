#pragma once

#include "worktable/SecurityDescriptor.h"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

/// Named objects of this system's users, as files under /dev/shm. "Global\" names belong to the computer: only root
/// makes them, and one that somebody else owns is not trusted. All others belong to one user, whose id is part of the
/// file's name. An object appears whole or not at all, and outlives its users.
namespace qpr::posix
{

/// A descriptor, owned. Closing may fail; who cares calls Close.
class FileDescriptor
{
public:
    explicit FileDescriptor(int value = -1) noexcept
        : m_value(value)
    {
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_value(std::exchange(other.m_value, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~FileDescriptor() { Close(); }

    bool Close() noexcept; ///< false when the system refuses
    bool IsValid() const noexcept { return m_value >= 0; }
    int Value() const noexcept { return m_value; }

private:
    int m_value;
};

/// A name as this system knows it.
struct ObjectName
{
    explicit ObjectName(const std::wstring& name);

    bool isGlobal;
    std::string text; ///< without separators
    std::string Path() const { return "/dev/shm/" + text; }
};

/// What opening came to: a descriptor or an error number.
struct SharedObject
{
    FileDescriptor file;
    int error = 0;

    /// Whether nobody has made the object; one that is not trusted counts as not made.
    bool IsAbsent(const ObjectName& name) const noexcept;
};

enum class Access
{
    ReadOnly,
    ReadWrite,
};

SharedObject OpenSharedObject(const ObjectName& name, Access access);

/// Opens the object or makes it with that many bytes, all 0 but for what initialise (which returns an error number)
/// writes.
SharedObject OpenOrCreateSharedObject(const ObjectName& name, std::size_t size, const SecurityDescriptor& security,
    const std::function<int(int file)>& initialise);

} // namespace qpr::posix
