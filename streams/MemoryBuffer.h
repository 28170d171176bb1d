#pragma once

#include <cstddef>
#include <utility>

namespace qpr
{

/// An owned block of bytes that grows and keeps its contents when it does; new bytes are not initialised. Moves, does
/// not copy.
class MemoryBuffer
{
public:
    MemoryBuffer() noexcept = default;

    /// Throws "malloc(<size>) failed allocating qpr::MemoryBuffer".
    explicit MemoryBuffer(std::size_t size);
    MemoryBuffer(MemoryBuffer&& other) noexcept;
    MemoryBuffer& operator=(MemoryBuffer&& other) noexcept;
    ~MemoryBuffer();

    char* Start() noexcept { return m_start; }
    const char* Start() const noexcept { return m_start; }
    std::size_t Size() const noexcept { return m_size; }

    /// Makes the block at least that large, by half its size at the least so that growing step by step stays cheap;
    /// does nothing when it is. Throws "realloc(<size>) failed reallocating qpr::MemoryBuffer" and is then unchanged.
    void GrowTo(std::size_t size);

private:
    char* m_start = nullptr;
    std::size_t m_size = 0;
};

} // namespace qpr
