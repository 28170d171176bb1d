#include "runtime/named/posix/SharedObject.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/text/Utf8.h"

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <pthread.h>
#include <pwd.h>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

// An object is created without a name, completed and then linked to its name: others see it whole or not at all.

namespace qpr::posix
{

namespace
{

constexpr wchar_t globalPrefix[] = L"Global\\";
constexpr wchar_t localPrefix[] = L"Local\\";

/// Bounded: somebody may create and remove an object as fast as we look for it.
constexpr int maximumAttempts = 100;

SharedObject Failure(int error)
{
    return {FileDescriptor(), error};
}

/// For a file that could not be opened: EPERM when it is not trusted, whatever the system's error was.
SharedObject Refusal(const ObjectName& name, FileKind kind, int error)
{
    struct stat status;
    const bool isStrange = lstat(name.Path().c_str(), &status) == 0 && !IsTrusted(name, kind, status);
    return Failure(isStrange ? EPERM : error);
}

/// The object, still without a name.
SharedObject BuildObject(const ObjectName& name, std::size_t size, const SecurityDescriptor& security)
{
    if (name.isGlobal && geteuid() != 0)
        return Failure(EPERM);
    FileDescriptor file(HandleOf(open("/dev/shm", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600)));
    if (!file.IsValid())
        return Failure(errno);
    // The mode given at creation does not do: the process's umask narrows it.
    if (fchmod(DescriptorOf(file), FileMode(name, security)) != 0)
        return Failure(errno);
    // Takes the memory now, so that a full file system is an error here and not at some later write.
    if (const int error = posix_fallocate(DescriptorOf(file), 0, static_cast<off_t>(size)))
        return Failure(error);
    return SharedObject{std::move(file)};
}

int GiveName(const FileDescriptor& file, const ObjectName& name)
{
    const std::string nameless = "/proc/self/fd/" + std::to_string(DescriptorOf(file));
    const int result = linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, name.Path().c_str(), AT_SYMLINK_FOLLOW);
    return result == 0 ? 0 : errno;
}

/// The descriptors that a forked child closes. The mutex is held during a fork, so that the child's list is whole.
struct LockRegistry
{
    static LockRegistry& Get()
    {
        static LockRegistry& registry = *new LockRegistry; // never destroyed: a process may fork while it ends
        return registry;
    }

    std::mutex mutex;
    std::set<LockDescriptor*> descriptors;

private:
    LockRegistry()
    {
        if (const int error = pthread_atfork(Lock, Unlock, CloseAll))
            throw std::system_error(error, std::generic_category());
    }

    static void Lock() { Get().mutex.lock(); }
    static void Unlock() { Get().mutex.unlock(); }
    static void CloseAll()
    {
        for (LockDescriptor* descriptor : Get().descriptors)
            descriptor->CloseCopy();
        Unlock();
    }
};

} // namespace

LockDescriptor::LockDescriptor(FileDescriptor file, const ForkBlock&, const char* destructor)
    : m_file(std::move(file))
    , m_destructor(destructor)
{
    LockRegistry::Get().descriptors.insert(this);
}

LockDescriptor::~LockDescriptor()
{
    const ForkBlock noFork;
    if (m_file.IsValid() && !m_file.Close())
        Panic("CloseHandle(m_handle)", m_destructor);
    LockRegistry::Get().descriptors.erase(this);
}

ForkBlock::ForkBlock()
{
    LockRegistry::Get().mutex.lock();
}

ForkBlock::~ForkBlock()
{
    LockRegistry::Get().mutex.unlock();
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

bool IsTrusted(const ObjectName& name, FileKind kind, const struct stat& status) noexcept
{
    const bool isOfKind = kind == FileKind::Fifo ? S_ISFIFO(status.st_mode) : S_ISREG(status.st_mode);
    return isOfKind && status.st_uid == (name.isGlobal ? 0 : geteuid());
}

bool SharedObject::IsAbsent(const ObjectName& name) const noexcept
{
    return error == ENOENT || (error == EPERM && name.isGlobal);
}

SharedObject OpenSharedObject(const ObjectName& name, Access access, FileKind kind)
{
    const int mode = access == Access::ReadOnly ? O_RDONLY : O_RDWR;
    FileDescriptor file(HandleOf(open(name.Path().c_str(), mode | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY)));
    if (!file.IsValid())
        return Refusal(name, kind, errno);
    struct stat status;
    if (fstat(DescriptorOf(file), &status) != 0)
        return Failure(errno);
    return IsTrusted(name, kind, status) ? SharedObject{std::move(file)} : Failure(EPERM);
}

SharedObject OpenOrCreateSharedObject(const ObjectName& name, std::size_t size, const SecurityDescriptor& security)
{
    for (int attempt = 0; attempt < maximumAttempts; ++attempt)
    {
        // Opened without O_CREAT first: a sticky directory refuses that for other users' files.
        SharedObject existing = OpenSharedObject(name, Access::ReadWrite);
        if (existing.error != ENOENT)
            return existing;
        SharedObject made = BuildObject(name, size, security);
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

unsigned FileMode(const ObjectName& name, const SecurityDescriptor& security) noexcept
{
    return name.isGlobal && security.GetBuffer().grantsAllAccess ? 0666 : 0600;
}

bool HasLinks(int file) noexcept
{
    struct stat status;
    return fstat(file, &status) == 0 && status.st_nlink > 0;
}

std::wstring UserName(unsigned user)
{
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return std::to_wstring(user);
    return FromUtf8(entry.pw_name) + L" (" + std::to_wstring(user) + L')';
}

std::wstring ObstacleAt(const ObjectName& name, FileKind kind)
{
    struct stat status;
    if (lstat(name.Path().c_str(), &status) != 0 || IsTrusted(name, kind, status))
        return {};
    return L"'" + FromUtf8(name.Path()) + L"' of user " + UserName(status.st_uid)
        + L" is in the way: that user or root has to remove it";
}

std::wstring RemovalNote(const ObjectName& name)
{
    struct stat status;
    const bool exists = lstat(name.Path().c_str(), &status) == 0;
    return L" ('" + FromUtf8(name.Path()) + (exists ? L"' of user " + UserName(status.st_uid) : L"'")
        + L" has to be removed)";
}

void ThrowObjectError(const wchar_t* text, const wchar_t* function, int error, const ObjectName& name, int line)
{
    const std::wstring path = L" ('" + FromUtf8(name.Path()) + L'\'';
    std::wstring note = path + L')';
    if (error == ENOSPC)
        note = path + L" needs room under /dev/shm)";
    else if (error == EPERM && access(name.Path().c_str(), F_OK) != 0)
        note = path + L" can be made by root alone)";
    else if (error == EPERM || error == EACCES)
        note = RemovalNote(name);
    throw RuntimeError(SystemErrorMessage(text, function, line, static_cast<std::uint32_t>(error)) + note);
}

} // namespace qpr::posix
