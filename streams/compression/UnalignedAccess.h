#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

/// Little-endian numbers at any address; they compile to plain moves.
namespace qpr
{

static_assert(std::endian::native == std::endian::little);

template <class T>
T LoadUnaligned(const std::uint8_t* from)
{
    T value;
    std::memcpy(&value, from, sizeof(T));
    return value;
}

template <class T>
void StoreUnaligned(std::uint8_t* to, T value)
{
    std::memcpy(to, &value, sizeof(T));
}

} // namespace qpr
