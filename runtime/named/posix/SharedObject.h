#pragma once

#include "runtime/named/SecurityDescriptor.h"
#include "runtime/threads/posix/Descriptor.h"

#include <cstddef>
#include <string>

struct stat;

namespace qpr
{

struct SecurityDescriptor::Buffer
{
    bool grantsAllAccess = false;
};

} // namespace qpr

/// Named objects as files under /dev/shm. "Global\" names belong to the computer: only root creates them, and a file of
/// that name that somebody else owns is not trusted. All other names belong to one user, whose id is part of the file's
/// name. Memory and mutexes appear whole or not at all, and outlive their users.
namespace qpr::posix
{

using FileDescriptor = SystemHandle<"qpr::posix::FileDescriptor::~FileDescriptor">;

/// While it lives no other thread forks. For a few system calls only; not recursive.
class ForkBlock
{
public:
    ForkBlock();
    ~ForkBlock();
    ForkBlock(const ForkBlock&) = delete;
    ForkBlock& operator=(const ForkBlock&) = delete;
};

/// A descriptor whose lock ends with this process: a forked child closes its copy at once, since a lock stays as long
/// as any copy of its descriptor does. The child's object is left without a descriptor. The block lasts from before the
/// file is opened, so that no child gets an unknown copy. The panic of a failed close names the destructor, a literal.
class LockDescriptor
{
public:
    LockDescriptor(FileDescriptor file, const ForkBlock& noFork, const char* destructor);
    ~LockDescriptor();
    LockDescriptor(const LockDescriptor&) = delete;
    LockDescriptor& operator=(const LockDescriptor&) = delete;

    int Value() const noexcept { return DescriptorOf(m_file); }
    NativeHandle Get() const noexcept { return m_file.Get(); }

    /// In a forked child.
    void CloseCopy() noexcept { m_file.Close(); }

private:
    FileDescriptor m_file;
    const char* const m_destructor;
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

/// Whether the file's kind and owner are those of the named object.
bool IsTrusted(const ObjectName& name, FileKind kind, const struct stat& status) noexcept;

/// The result of opening: a descriptor or an error number; EPERM for a file that is not trusted.
struct SharedObject
{
    FileDescriptor file;
    int error = 0;

    /// Whether nobody has created the object. A computer's object that is not trusted counts as not created.
    bool IsAbsent(const ObjectName& name) const noexcept;
};

enum class Access
{
    ReadOnly,
    ReadWrite,
};

SharedObject OpenSharedObject(const ObjectName& name, Access access, FileKind kind = FileKind::Regular);

/// Opens the object or creates it with that many bytes, all 0.
SharedObject OpenOrCreateSharedObject(const ObjectName& name, std::size_t size, const SecurityDescriptor& security);

/// The permissions of the object's file.
unsigned FileMode(const ObjectName& name, const SecurityDescriptor& security) noexcept;

/// Whether the open file can still be found by a name.
bool HasLinks(int file) noexcept;

/// "name (number)", or the number alone.
std::wstring UserName(unsigned user);

/// For a file that is in the way: its name, its owner and what to do about it. Empty when nothing is in the way.
std::wstring ObstacleAt(const ObjectName& name, FileKind kind);

/// The end of a message about an object that cannot be used: its file and owner, and that it has to be removed.
std::wstring RemovalNote(const ObjectName& name);

/// Throws a system error about the object's file, with a note that helps a person to mend it.
[[noreturn]] void ThrowObjectError(
    const wchar_t* text, const wchar_t* function, int error, const ObjectName& name, int line = __builtin_LINE());

} // namespace qpr::posix
