#include "worktable/SharedMemorySegment.h"

#include "runtime/Errors.h"
#include "runtime/Panic.h"
#include "worktable/posix/SharedObject.h"

#include <cerrno>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qpr
{

using namespace posix;

struct SharedMemorySegment::FileMapping
{
    FileMapping(SharedObject object, Access access);

    FileDescriptor file;
    Access access;
    std::size_t size; ///< in whole pages
};

namespace
{

std::size_t InWholePages(std::size_t size)
{
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (size + pageSize - 1) / pageSize * pageSize;
}

constexpr wchar_t mappingFunction[] = L"qpr::SharedMemorySegment::FileMapping::FileMapping";

} // namespace

SharedMemorySegment::FileMapping::FileMapping(SharedObject object, Access mappingAccess)
    : file(std::move(object.file))
    , access(mappingAccess)
{
    if (object.error != 0)
        ThrowSystemErrorWithNumber(L"CreateFileMapping() failed", mappingFunction, static_cast<unsigned>(object.error));
    struct stat status;
    if (fstat(file.Value(), &status) != 0)
        ThrowSystemError(L"CreateFileMapping() failed", mappingFunction);
    size = InWholePages(static_cast<std::size_t>(status.st_size));
}

SharedMemorySegment::SharedMemorySegment(
    const std::wstring& name, std::size_t minimumSize, const SecurityDescriptor& security)
    : SharedMemorySegment(std::make_unique<FileMapping>(
                              OpenOrCreateSharedObject(ObjectName(name), minimumSize, security, [](int) { return 0; }),
                              Access::ReadWrite),
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
        new SharedMemorySegment(std::make_unique<FileMapping>(std::move(object), Access::ReadOnly), name, minimumSize));
}

SharedMemorySegment::SharedMemorySegment(
    std::unique_ptr<FileMapping> mapping, const std::wstring& name, std::size_t minimumSize)
    : m_mapping(std::move(mapping))
{
    // Before the view is made: of nothing there is none.
    if (m_mapping->size < minimumSize)
        throw RuntimeError(L"Existing shared memory segment '" + name + L"' too small (minimum size = "
            + std::to_wstring(minimumSize) + L", actual size = " + std::to_wstring(m_mapping->size) + L")");
    const int protection = m_mapping->access == Access::ReadOnly ? PROT_READ : PROT_READ | PROT_WRITE;
    void* const address = mmap(nullptr, m_mapping->size, protection, MAP_SHARED, m_mapping->file.Value(), 0);
    if (address == MAP_FAILED)
        ThrowSystemError(L"MapViewOfFile() failed", L"qpr::SharedMemorySegment::FileView::FileView");
    m_address = address;
}

SharedMemorySegment::~SharedMemorySegment()
{
    if (munmap(m_address, m_mapping->size) != 0)
        Panic("UnmapViewOfFile(m_address)", "qpr::SharedMemorySegment::FileView::~FileView");
    if (!m_mapping->file.Close())
        Panic("CloseHandle(m_handle)", "qpr::SharedMemorySegment::FileMapping::~FileMapping");
}

} // namespace qpr
