#include "streams/MemoryBuffer.h"

#include "runtime/text/Errors.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

namespace qpr
{

MemoryBuffer::MemoryBuffer(std::size_t size)
    : m_start(static_cast<char*>(std::malloc(size)))
    , m_size(size)
{
    if (!m_start && size != 0)
        throw RuntimeError(L"malloc(" + std::to_wstring(size) + L") failed allocating qpr::MemoryBuffer");
}

MemoryBuffer::MemoryBuffer(MemoryBuffer&& other) noexcept
    : m_start(std::exchange(other.m_start, nullptr))
    , m_size(std::exchange(other.m_size, 0))
{
}

MemoryBuffer& MemoryBuffer::operator=(MemoryBuffer&& other) noexcept
{
    MemoryBuffer taken(std::move(other));
    std::swap(m_start, taken.m_start);
    std::swap(m_size, taken.m_size);
    return *this;
}

MemoryBuffer::~MemoryBuffer()
{
    std::free(m_start);
}

void MemoryBuffer::GrowTo(std::size_t size)
{
    if (size <= m_size)
        return;
    const std::size_t newSize = std::max(size, m_size + m_size / 2);
    void* const start = std::realloc(m_start, newSize);
    if (!start)
        throw RuntimeError(L"realloc(" + std::to_wstring(newSize) + L") failed reallocating qpr::MemoryBuffer");
    m_start = static_cast<char*>(start);
    m_size = newSize;
}

} // namespace qpr
