#pragma once

#include <qxmi/IServiceConnectionW.h>

namespace qxmi::internal
{

/// What the library's own layers need of a connection beyond what the application sees. Not for applications.
class IServiceConnectionExW : public IServiceConnectionW
{
public:
    /// Gives the sending side up: what is still buffered is dropped, and the servant's input ends. Does nothing more to
    /// an output that is closed.
    virtual void Abandon() noexcept = 0;

    /// As WaitForServantEnd, but leaves the servant's input open: another thread may go on writing meanwhile.
    virtual bool AwaitServantEnd(ServantEnd& end) = 0;
};

} // namespace qxmi::internal
