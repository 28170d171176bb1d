#pragma once

#include <qxmi/IServiceConnectionW.h>

namespace qxmi::internal
{

/// What the library's own layers need of a connection beyond what the application sees. Not for applications.
class IServiceConnectionExW : public IServiceConnectionW
{
public:
    /// Ends the sending side after a failed call: what is still buffered is dropped, so that no destructor writes to a
    /// servant that may not read.
    virtual void Abandon() noexcept = 0;
};

} // namespace qxmi::internal
