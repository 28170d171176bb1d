#include "runtime/named/SharedMemorySegment.h"

#include "runtime/named/windows/SecurityDescriptorBuffer.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/windows/Handle.h"

#include <cstring>
#include <utility>

namespace qpr
{

namespace
{

using Mapping = SystemHandle<"qpr::SharedMemorySegment::FileMapping::~FileMapping">;

}

struct SharedMemorySegment::FileMapping
{
    FileMapping(Mapping mapping, DWORD mappingAccess) noexcept
        : handle(std::move(mapping))
        , access(mappingAccess)
    {
    }
    ~FileMapping();
    FileMapping(const FileMapping&) = delete;
    FileMapping& operator=(const FileMapping&) = delete;

    Mapping handle;
    DWORD access;
    char* address = nullptr; ///< of the view
};

namespace
{

constexpr wchar_t mappingFunction[] = L"qpr::SharedMemorySegment::FileMapping::FileMapping";

Mapping OpenOrCreateMapping(const std::wstring& name, std::size_t size, const SecurityDescriptor& security)
{
    Mapping handle(NativeHandleOf(CreateFileMappingW(INVALID_HANDLE_VALUE, AttributesOf(security), PAGE_READWRITE,
        static_cast<DWORD>(static_cast<std::uint64_t>(size) >> 32), static_cast<DWORD>(size), name.c_str())));
    if (!handle.IsValid())
        ThrowSystemError(L"CreateFileMapping() failed", mappingFunction);
    return handle;
}

/// Of the view at the address, in whole pages.
std::size_t RegionSize(const void* address)
{
    MEMORY_BASIC_INFORMATION info;
    if (VirtualQuery(address, &info, sizeof info) != sizeof info)
        Panic("VirtualQuery(m_buffer, &info, sizeof(info)) == sizeof(info)",
            "qpr::SharedMemorySegment::SharedMemorySegment");
    return info.RegionSize;
}

} // namespace

SharedMemorySegment::SharedMemorySegment(
    const std::wstring& name, std::size_t minimumSize, const SecurityDescriptor& security)
    : SharedMemorySegment(
        std::make_unique<FileMapping>(OpenOrCreateMapping(name, minimumSize, security), FILE_MAP_ALL_ACCESS), name,
        minimumSize)
{
}

std::unique_ptr<const SharedMemorySegment> SharedMemorySegment::TryOpenReadOnly(
    const std::wstring& name, std::size_t minimumSize)
{
    Mapping handle(NativeHandleOf(OpenFileMappingW(FILE_MAP_READ, FALSE, name.c_str())));
    if (!handle.IsValid())
    {
        if (GetLastError() == ERROR_FILE_NOT_FOUND)
            return nullptr;
        ThrowSystemError(L"CreateFileMapping() failed", mappingFunction);
    }
    return std::unique_ptr<const SharedMemorySegment>(
        new SharedMemorySegment(std::make_unique<FileMapping>(std::move(handle), FILE_MAP_READ), name, minimumSize));
}

SharedMemorySegment::SharedMemorySegment(
    std::unique_ptr<FileMapping> mapping, const std::wstring& name, std::size_t minimumSize)
    : m_mapping(std::move(mapping))
{
    m_mapping->address =
        static_cast<char*>(MapViewOfFile(SystemHandleOf(m_mapping->handle), m_mapping->access, 0, 0, 0));
    if (!m_mapping->address)
        ThrowSystemError(L"MapViewOfFile() failed", L"qpr::SharedMemorySegment::FileView::FileView");
    const std::size_t size = RegionSize(m_mapping->address);
    if (size < minimumSize)
        throw RuntimeError(L"Existing shared memory segment '" + name + L"' too small (minimum size = "
            + std::to_wstring(minimumSize) + L", actual size = " + std::to_wstring(size) + L")");
}

SharedMemorySegment::FileMapping::~FileMapping()
{
    if (address && !UnmapViewOfFile(address))
        Panic("UnmapViewOfFile(m_address)", "qpr::SharedMemorySegment::FileView::~FileView");
}

SharedMemorySegment::~SharedMemorySegment() = default;

void SharedMemorySegment::Read(void* to, std::size_t size) const
{
    std::memcpy(to, m_mapping->address, size);
}

void SharedMemorySegment::Write(std::size_t offset, const void* from, std::size_t size)
{
    std::memcpy(m_mapping->address + offset, from, size);
}

bool SharedMemorySegment::HasName() const noexcept
{
    return true; // a name lasts as long as anybody has the object open
}

} // namespace qpr
