#pragma once

#include <cstddef>

namespace qpr
{

/// A source of bytes. One thread reads at a time.
class IReader
{
public:
    virtual ~IReader() = default;

    /// Waits until something is there, then takes up to size bytes; returns their number, 0 at the end of the data.
    virtual std::size_t Read(void* buffer, std::size_t size) = 0;

    /// True when a Read would not block: data is there, or the end.
    virtual bool InputPending() = 0;
};

} // namespace qpr
