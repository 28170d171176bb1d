#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>

namespace test
{

/// The same numbers for the same seed on every platform, which the standard library's distributions do not promise.
class Random
{
public:
    explicit Random(std::uint64_t seed) noexcept
        : m_state(seed)
    {
    }

    std::uint64_t Next() noexcept
    {
        m_state += 0x9E3779B97F4A7C15u;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }

    /// Both ends included.
    std::size_t Between(std::size_t least, std::size_t most) noexcept { return least + Next() % (most - least + 1); }

    bool Chance(unsigned percent) noexcept { return Next() % 100 < percent; }

    /// One of the values, each as likely as its weight says.
    template <class T>
    T Pick(std::initializer_list<std::pair<T, unsigned>> weighted) noexcept
    {
        std::uint64_t total = 0;
        for (const auto& [value, weight] : weighted)
            total += weight;
        std::uint64_t drawn = Next() % total;
        for (const auto& [value, weight] : weighted)
        {
            if (drawn < weight)
                return value;
            drawn -= weight;
        }
        return weighted.begin()->first;
    }

    /// Small numbers are as likely as large ones: drawn by order of magnitude.
    std::size_t Size(std::size_t most) noexcept
    {
        std::size_t bound = 1;
        while (bound < most && !Chance(8))
            bound *= 3;
        return Between(0, bound < most ? bound : most);
    }

private:
    std::uint64_t m_state;
};

} // namespace test
