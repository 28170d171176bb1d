#include "runtime/named/SharedMemorySegment.h"

#include "runtime/named/posix/SharedObject.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

// A file under /dev/shm that is never mapped: a mapped file that somebody else cuts short ends the process that touches
// it.

namespace qpr
{

using namespace posix;

struct SharedMemorySegment::FileMapping
{
    FileDescriptor file;
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

FileDescriptor FileOf(SharedObject object, const ObjectName& name)
{
    if (object.error != 0)
        ThrowObjectError(mappingText, mappingFunction, object.error, name);
    return std::move(object.file);
}

} // namespace

SharedMemorySegment::SharedMemorySegment(
    const std::wstring& name, std::size_t minimumSize, const SecurityDescriptor& security)
    : SharedMemorySegment(
        std::make_unique<FileMapping>(
            FileMapping{FileOf(OpenOrCreateSharedObject(ObjectName(name), minimumSize, security), ObjectName(name)),
                ObjectName(name)}),
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
    return std::unique_ptr<const SharedMemorySegment>(new SharedMemorySegment(
        std::make_unique<FileMapping>(FileMapping{FileOf(std::move(object), systemName), systemName}), name,
        minimumSize));
}

SharedMemorySegment::SharedMemorySegment(
    std::unique_ptr<FileMapping> mapping, const std::wstring& name, std::size_t minimumSize)
    : m_mapping(std::move(mapping))
{
    struct stat status;
    if (fstat(m_mapping->file.Value(), &status) != 0)
        ThrowSystemError(mappingText, mappingFunction);
    const std::size_t size = InWholePages(static_cast<std::size_t>(status.st_size));
    if (size < minimumSize)
        throw RuntimeError(L"Existing shared memory segment '" + name + L"' too small (minimum size = "
            + std::to_wstring(minimumSize) + L", actual size = " + std::to_wstring(size) + L")"
            + RemovalNote(m_mapping->name));
}

SharedMemorySegment::~SharedMemorySegment()
{
    if (!m_mapping->file.Close())
        Panic("CloseHandle(m_handle)", "qpr::SharedMemorySegment::FileMapping::~FileMapping");
}

void SharedMemorySegment::Read(void* to, std::size_t size) const
{
    const ssize_t count = pread(m_mapping->file.Value(), to, size, 0);
    if (count < 0)
        ThrowObjectError(L"ReadFile() failed", L"qpr::SharedMemorySegment::Read", errno, m_mapping->name);
    std::memset(static_cast<char*>(to) + count, 0, size - static_cast<std::size_t>(count));
}

void SharedMemorySegment::Write(std::size_t offset, const void* from, std::size_t size)
{
    const ssize_t count = pwrite(m_mapping->file.Value(), from, size, static_cast<off_t>(offset));
    if (count != static_cast<ssize_t>(size))
        ThrowObjectError(
            L"WriteFile() failed", L"qpr::SharedMemorySegment::Write", count < 0 ? errno : ENOSPC, m_mapping->name);
}

bool SharedMemorySegment::HasName() const noexcept
{
    return HasLinks(m_mapping->file.Value());
}

} // namespace qpr
