#pragma once

#include "runtime/named/SecurityDescriptor.h"

#include <cstddef>
#include <memory>
#include <string>

namespace qpr
{

/// Named memory that several processes read and write. Its bytes are what any of them wrote last. It is read and
/// written by copies, so that nothing another process does to it can reach this process's memory.
class SharedMemorySegment
{
public:
    /// Opens the segment or creates it filled with zeros; an existing one keeps its own size. Throws
    /// "CreateFileMapping() failed", "MapViewOfFile() failed", "Existing shared memory segment '<name>' too small ...".
    /// Sizes count whole pages, so a smaller segment within the same page passes.
    SharedMemorySegment(const std::wstring& name, std::size_t minimumSize, const SecurityDescriptor& security);

    /// Opens an existing segment for reading alone, with the same errors. Null when there is none.
    static std::unique_ptr<const SharedMemorySegment> TryOpenReadOnly(
        const std::wstring& name, std::size_t minimumSize);

    ~SharedMemorySegment();
    SharedMemorySegment(const SharedMemorySegment&) = delete;
    SharedMemorySegment& operator=(const SharedMemorySegment&) = delete;

    /// Reads from the start; bytes that somebody has cut off are zeros. Throws "ReadFile() failed".
    void Read(void* to, std::size_t size) const;

    /// Throws "WriteFile() failed".
    void Write(std::size_t offset, const void* from, std::size_t size);

    /// Whether others can still find it: where names are files, somebody may have removed the file.
    bool HasName() const noexcept;

private:
    struct FileMapping;

    SharedMemorySegment(std::unique_ptr<FileMapping> mapping, const std::wstring& name, std::size_t minimumSize);

    std::unique_ptr<FileMapping> m_mapping;
};

} // namespace qpr
