#pragma once

#include "worktable/SecurityDescriptor.h"

#include <cstddef>
#include <memory>
#include <string>

namespace qpr
{

/// Named memory that several processes map. Its bytes are whatever any of them wrote last.
class SharedMemorySegment
{
public:
    /// Opens the segment or creates it filled with zeros; an existing one keeps its own size. Throws
    /// "CreateFileMapping() failed", "MapViewOfFile() failed", "Existing shared memory segment '<name>' too small ...".
    /// Sizes count whole pages, so a smaller segment within the same page passes.
    SharedMemorySegment(const std::wstring& name, std::size_t minimumSize, const SecurityDescriptor& security);

    /// Maps an existing segment for reading alone, with the same errors. Null when there is none.
    static std::unique_ptr<const SharedMemorySegment> TryOpenReadOnly(
        const std::wstring& name, std::size_t minimumSize);

    ~SharedMemorySegment();
    SharedMemorySegment(const SharedMemorySegment&) = delete;
    SharedMemorySegment& operator=(const SharedMemorySegment&) = delete;

    void* Address() noexcept { return m_address; }
    const void* Address() const noexcept { return m_address; }

private:
    struct FileMapping;

    SharedMemorySegment(std::unique_ptr<FileMapping> mapping, const std::wstring& name, std::size_t minimumSize);

    std::unique_ptr<FileMapping> m_mapping;
    void* m_address = nullptr;
};

} // namespace qpr
