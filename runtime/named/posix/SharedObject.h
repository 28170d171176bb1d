#pragma once

#include "runtime/named/SecurityDescriptor.h"

#include <cstddef>
#include <string>
#include <utility>

struct stat;

/// Named objects of this system's users, as files under /dev/shm. "Global\" names belong to the computer: only root
/// makes them, and one that somebody else owns is not trusted. All others belong to one user, whose id is part of the
/// file's name. Memory and mutexes appear whole or not at all, and outlive their users.
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

/// While it lives no other thread forks. For a few system calls only; not recursive.
class ForkBlock
{
public:
    ForkBlock();
    ~ForkBlock();
    ForkBlock(const ForkBlock&) = delete;
    ForkBlock& operator=(const ForkBlock&) = delete;
};

/// A descriptor whose lock goes with this process: a forked child closes its copy at once, since a lock stays as long
/// as any copy of its descriptor does. The child's object is left without a descriptor. The block lasts from before the
/// opening, so that no child gets a copy that it does not know of.
class LockDescriptor
{
public:
    LockDescriptor(FileDescriptor file, const ForkBlock& noFork);
    ~LockDescriptor();
    LockDescriptor(const LockDescriptor&) = delete;
    LockDescriptor& operator=(const LockDescriptor&) = delete;

    int Value() const noexcept { return m_file.Value(); }
    bool Close() noexcept { return m_file.Close(); }

private:
    FileDescriptor m_file;
};

/// A name as this system knows it.
struct ObjectName
{
    explicit ObjectName(const std::wstring& name);

    bool isGlobal;
    std::string text; ///< without separators
    std::string Path() const { return "/dev/shm/" + text; }
};

enum class FileKind
{
    Regular,
    Fifo,
};

/// Whether the file may be what the name stands for.
bool IsTrusted(const ObjectName& name, FileKind kind, const struct stat& status) noexcept;

/// What opening came to: a descriptor or an error number; EPERM for what is not trusted.
struct SharedObject
{
    FileDescriptor file;
    int error = 0;

    /// Whether nobody has made the object; a computer's object that is not trusted counts as not made.
    bool IsAbsent(const ObjectName& name) const noexcept;
};

enum class Access
{
    ReadOnly,
    ReadWrite,
};

SharedObject OpenSharedObject(const ObjectName& name, Access access, FileKind kind = FileKind::Regular);

/// Opens the object or makes it with that many bytes, all 0.
SharedObject OpenOrCreateSharedObject(const ObjectName& name, std::size_t size, const SecurityDescriptor& security);

/// What the object's file is to be allowed.
unsigned FileMode(const ObjectName& name, const SecurityDescriptor& security) noexcept;

/// Whether the open file can still be found by a name.
bool HasLinks(int file) noexcept;

/// "name (number)", or the number alone.
std::wstring UserName(unsigned user);

/// The file and its owner, and what to do about one that is in the way; empty when nothing is.
std::wstring ObstacleAt(const ObjectName& name, FileKind kind);

/// The end of a message about an object that is of no use: its file and owner, and to remove it.
std::wstring RemovalNote(const ObjectName& name);

/// Throws a system error about the object's file, with what a person needs to mend it.
[[noreturn]] void ThrowObjectError(
    const wchar_t* text, const wchar_t* function, int error, const ObjectName& name, int line = __builtin_LINE());

} // namespace qpr::posix
