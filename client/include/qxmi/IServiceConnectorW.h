#pragma once

#include <vector>

namespace qxmi
{

class IServiceCall;
class IServiceRequestW;

/// Carries out service calls, on this computer or on others as its kind says. Made by CreateServiceConnectorW.
///
/// All operations may be called from any thread, but for AddRef and Release: the application takes and drops its
/// references from one thread at a time. A connector stays alive until its last call has been released. Slot order is
/// part of the binary interface.
class IServiceConnectorW
{
public:
    virtual ~IServiceConnectorW() = default;

    /// Raises the reference count. CreateServiceConnectorW hands the connector out with one reference.
    virtual void AddRef() = 0;

    /// Lowers the reference count and destroys the connector at 0.
    virtual void Release() = 0;

    /// Makes a call of the request, queues it and returns it with one reference; the caller releases it. The call
    /// starts when the connector admits it. The request must live until the call has ended. Throws std::exception when
    /// the request cannot be queued; no notification is made then.
    virtual IServiceCall* CreateServiceCall(IServiceRequestW& request) = 0;

    /// Cancels each of these calls, all made by this connector, then waits until each has ended. An empty list returns
    /// at once.
    virtual void CancelServiceCalls(const std::vector<IServiceCall*>& calls) = 0;
};

} // namespace qxmi
