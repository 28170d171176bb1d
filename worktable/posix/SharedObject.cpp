#include "worktable/posix/SharedObject.h"

#include "runtime/Utf8.h"
#include "worktable/posix/SecurityDescriptorBuffer.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qpr::posix
{

namespace
{

constexpr wchar_t globalPrefix[] = L"Global\\";
constexpr wchar_t localPrefix[] = L"Local\\";

/// Somebody may make and remove an object as fast as we look for it.
constexpr int maximumAttempts = 100;

bool IsTrusted(const ObjectName& name, const struct stat& status)
{
    return S_ISREG(status.st_mode) && status.st_uid == (name.isGlobal ? 0 : geteuid());
}

SharedObject Failure(int error)
{
    return {FileDescriptor(), error};
}

SharedObject Success(FileDescriptor file)
{
    return {std::move(file), 0};
}

/// The object without a name yet.
SharedObject BuildObject(const ObjectName& name, std::size_t size, const SecurityDescriptor& security,
    const std::function<int(int)>& initialise)
{
    if (name.isGlobal && geteuid() != 0)
        return Failure(EPERM);
    FileDescriptor file(open("/dev/shm", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!file.IsValid())
        return Failure(errno);
    const bool forEveryone = name.isGlobal && security.GetBuffer().grantsAllAccess;
    // Not left to the creation mode, which the process's umask narrows.
    if (fchmod(file.Value(), forEveryone ? 0666 : 0600) != 0)
        return Failure(errno);
    // Takes the memory now: a full file system is an error here, and a bus error at the first touch otherwise.
    if (const int error = posix_fallocate(file.Value(), 0, static_cast<off_t>(size)))
        return Failure(error);
    if (const int error = initialise(file.Value()))
        return Failure(error);
    return Success(std::move(file));
}

int GiveName(const FileDescriptor& file, const ObjectName& name)
{
    const std::string nameless = "/proc/self/fd/" + std::to_string(file.Value());
    const int result = linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, name.Path().c_str(), AT_SYMLINK_FOLLOW);
    return result == 0 ? 0 : errno;
}

} // namespace

bool FileDescriptor::Close() noexcept
{
    const int value = std::exchange(m_value, -1);
    return value < 0 || close(value) == 0;
}

ObjectName::ObjectName(const std::wstring& name)
    : isGlobal(name.starts_with(globalPrefix))
{
    std::wstring rest = name;
    if (isGlobal)
        rest.erase(0, std::size(globalPrefix) - 1);
    else if (name.starts_with(localPrefix))
        rest.erase(0, std::size(localPrefix) - 1);
    text = (isGlobal ? "Global_" : "Local_" + std::to_string(geteuid()) + "_") + ToUtf8(rest);
    for (char& character : text)
    {
        if (character == '\\' || character == '/' || character == '\0')
            character = '_';
    }
}

bool SharedObject::IsAbsent(const ObjectName& name) const noexcept
{
    return error == ENOENT || (error == EPERM && name.isGlobal);
}

SharedObject OpenSharedObject(const ObjectName& name, Access access)
{
    // Looked at before it is opened too: what a stranger put there may block, or refuse us, and is as good as absent.
    struct stat status;
    if (lstat(name.Path().c_str(), &status) != 0)
        return Failure(errno);
    if (!IsTrusted(name, status))
        return Failure(EPERM);
    const int mode = access == Access::ReadOnly ? O_RDONLY : O_RDWR;
    FileDescriptor file(open(name.Path().c_str(), mode | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file.IsValid() || fstat(file.Value(), &status) != 0)
        return Failure(errno);
    return IsTrusted(name, status) ? Success(std::move(file)) : Failure(EPERM);
}

SharedObject OpenOrCreateSharedObject(const ObjectName& name, std::size_t size, const SecurityDescriptor& security,
    const std::function<int(int file)>& initialise)
{
    for (int attempt = 0; attempt < maximumAttempts; ++attempt)
    {
        // Opened without O_CREAT first: a sticky directory's protection refuses that for other users' files.
        SharedObject existing = OpenSharedObject(name, Access::ReadWrite);
        if (existing.error != ENOENT)
            return existing;
        SharedObject made = BuildObject(name, size, security, initialise);
        if (made.error != 0)
            return made;
        const int error = GiveName(made.file, name);
        if (error == 0)
            return made;
        if (error != EEXIST)
            return Failure(error);
    }
    return Failure(EAGAIN);
}

} // namespace qpr::posix
