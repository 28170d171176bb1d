#pragma once

#include "runtime/text/Panic.h"

namespace qpr
{

/// An optional value. Reading an empty one is a panic.
template <class T>
class Nullable
{
public:
    Nullable() = default;
    Nullable(T value)
        : m_value(value)
        , m_isNull(false)
    {
    }

    bool IsNull() const noexcept { return m_isNull; }

    T Value() const noexcept
    {
        if (m_isNull)
            Panic("!m_isNull", "qpr::Nullable::Value");
        return m_value;
    }

private:
    T m_value{};
    bool m_isNull = true;
};

} // namespace qpr
