#pragma once

#include <memory>

namespace qx
{

struct ReleaseReference
{
    template <class T>
    void operator()(T* object) const
    {
        object->Release();
    }
};

/// Holds one reference to an object of the library and gives it back.
template <class T>
using LibraryObject = std::unique_ptr<T, ReleaseReference>;

} // namespace qx
