#include "runtime/named/SharedMemorySegment.h"

#include "runtime/named/posix/SharedObject.h"
#include "runtime/text/Errors.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

// A file under /dev/shm that is never mapped: when somebody truncates a mapped file, the process that touches it is
// ended.

namespace qpr
{

using namespace posix;

struct SharedMemorySegment::FileMapping
{
    /// Throws when the object could not be opened.
    FileMapping(SharedObject object, ObjectName objectName);

    SystemHandle<"qpr::SharedMemorySegment::FileMapping::~FileMapping"> file;
    ObjectName name;
};

namespace
{

std::size_t InWholePages(std::size_t size)
{
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (size + pageSize - 1) / pageSize * pageSize;
}

constexpr wchar_t mappingText[] = L"CreateFileMapping() failed";
constexpr wchar_t mappingFunction[] = L"qpr::SharedMemorySegment::FileMapping::FileMapping";

} // namespace

SharedMemorySegment::FileMapping::FileMapping(SharedObject object, ObjectName objectName)
    : file(object.file.Release())
    , name(std::move(objectName))
{
    if (object.error != 0)
        ThrowObjectError(mappingText, mappingFunction, object.error, name);
}

SharedMemorySegment::SharedMemorySegment(
    const std::wstring& name, std::size_t minimumSize, const SecurityDescriptor& security)
    : SharedMemorySegment(std::make_unique<FileMapping>(
                              OpenOrCreateSharedObject(ObjectName(name), minimumSize, security), ObjectName(name)),
        name, minimumSize)
{
}

std::unique_ptr<const SharedMemorySegment> SharedMemorySegment::TryOpenReadOnly(
    const std::wstring& name, std::size_t minimumSize)
{
    const ObjectName systemName(name);
    SharedObject object = OpenSharedObject(systemName, Access::ReadOnly);
    if (object.IsAbsent(systemName))
        return nullptr;
    return std::unique_ptr<const SharedMemorySegment>(
        new SharedMemorySegment(std::make_unique<FileMapping>(std::move(object), systemName), name, minimumSize));
}

SharedMemorySegment::SharedMemorySegment(
    std::unique_ptr<FileMapping> mapping, const std::wstring& name, std::size_t minimumSize)
    : m_mapping(std::move(mapping))
{
    struct stat status;
    if (fstat(DescriptorOf(m_mapping->file), &status) != 0)
        ThrowSystemError(mappingText, mappingFunction);
    const std::size_t size = InWholePages(static_cast<std::size_t>(status.st_size));
    if (size < minimumSize)
        throw RuntimeError(L"Existing shared memory segment '" + name + L"' too small (minimum size = "
            + std::to_wstring(minimumSize) + L", actual size = " + std::to_wstring(size) + L")"
            + RemovalNote(m_mapping->name));
}

SharedMemorySegment::~SharedMemorySegment() = default;

void SharedMemorySegment::Read(void* to, std::size_t size) const
{
    const ssize_t count = pread(DescriptorOf(m_mapping->file), to, size, 0);
    if (count < 0)
        ThrowObjectError(L"ReadFile() failed", L"qpr::SharedMemorySegment::Read", errno, m_mapping->name);
    std::memset(static_cast<char*>(to) + count, 0, size - static_cast<std::size_t>(count));
}

void SharedMemorySegment::Write(std::size_t offset, const void* from, std::size_t size)
{
    const ssize_t count = pwrite(DescriptorOf(m_mapping->file), from, size, static_cast<off_t>(offset));
    if (count != static_cast<ssize_t>(size))
        ThrowObjectError(
            L"WriteFile() failed", L"qpr::SharedMemorySegment::Write", count < 0 ? errno : ENOSPC, m_mapping->name);
}

bool SharedMemorySegment::HasName() const noexcept
{
    return HasLinks(DescriptorOf(m_mapping->file));
}

} // namespace qpr
