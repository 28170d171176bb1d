#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qpr
{

/// The memory of a stream's buffer, not initialised, with room for one character before its start.
///
/// A large one starts in the middle of a page. Applications' large blocks mostly start at the beginning of one, and
/// some processors copy at a twentieth of their speed when, whole pages aside, the target lies a few bytes behind the
/// source.
template <class CharT>
class BufferMemory
{
public:
    BufferMemory() noexcept = default;

    explicit BufferMemory(std::size_t size)
        : m_memory(std::make_unique_for_overwrite<CharT[]>(size + (size < pageSize ? 1 : 2 * pageSize)))
        , m_start(m_memory.get() + 1)
    {
        if (size < pageSize)
            return;
        const auto address = reinterpret_cast<std::uintptr_t>(m_memory.get());
        const std::uintptr_t page = (address + pageSize - 1) / pageSize * pageSize;
        m_start = m_memory.get() + (page + pageSize / 2 - address) / sizeof(CharT);
    }

    CharT* Start() const noexcept { return m_start; }

private:
    static constexpr std::size_t pageSize = 4096; // bytes

    std::unique_ptr<CharT[]> m_memory;
    CharT* m_start = nullptr;
};

} // namespace qpr
