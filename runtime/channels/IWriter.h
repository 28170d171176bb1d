#pragma once

#include <cstddef>

namespace qpr
{

/// A sink of bytes. One thread writes at a time.
class IWriter
{
public:
    virtual ~IWriter() = default;

    /// Writes all bytes or throws.
    virtual void Write(const void* buffer, std::size_t size) = 0;

    /// Passes on what the writer itself still holds.
    virtual void Flush() = 0;
};

} // namespace qpr
