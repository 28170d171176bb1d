#pragma once

#include "runtime/text/Panic.h"

#include <limits>
#include <type_traits>
#include <utility>

namespace qpr
{

/// Converts between integer types; a value that does not fit is a panic, never an exception.
template <class ToIntT, class FromIntT>
constexpr ToIntT CheckedIntCast(FromIntT from) noexcept
{
    static_assert(std::is_integral_v<ToIntT> && std::is_integral_v<FromIntT>);
    if constexpr (std::is_signed_v<FromIntT> && std::is_unsigned_v<ToIntT>)
    {
        if (from < 0)
            Panic("from >= 0", "qpr::CheckedIntCast", 89);
    }
    if (std::cmp_less(from, std::numeric_limits<ToIntT>::min()))
        Panic("from >= static_cast<FromIntT>(std::numeric_limits<ToIntT>::min())", "qpr::CheckedIntCast", 85);
    if (std::cmp_greater(from, std::numeric_limits<ToIntT>::max()))
        Panic("from <= static_cast<FromIntT>(std::numeric_limits<ToIntT>::max())", "qpr::CheckedIntCast", 86);
    return static_cast<ToIntT>(from);
}

} // namespace qpr
