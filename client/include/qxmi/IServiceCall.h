#pragma once

namespace qxmi
{

/// One service call: made by IServiceConnectorW::CreateServiceCall, queued at once and carried out on a thread of its
/// own. Results, errors and the log reach the application through its request; the call itself only tells when it has
/// ended.
///
/// Cancel and Wait may be called from any thread. The application takes and drops its references to one call from one
/// thread at a time. Slot order is part of the binary interface.
class IServiceCall
{
public:
    virtual ~IServiceCall() = default;

    /// Raises the reference count. CreateServiceCall hands the call out with one reference.
    virtual void AddRef() = 0;

    /// Lowers the reference count and destroys the call at 0: a call still queued is taken out of the queue and
    /// reported as cancelled; a running one is cancelled, and Release returns when it has ended. Never drop the last
    /// reference inside Execute or a notification of the call's own request: the call would wait for itself.
    virtual void Release() = 0;

    /// Requests cancellation and returns without waiting. A queued call is reported as cancelled before Cancel returns;
    /// a running one is asked to stop: its reads, writes and waits fail, and its servant is ended. Does nothing when
    /// the call has ended.
    virtual void Cancel() = 0;

    /// Returns when the call has ended: done, failed or cancelled, its last notification and log character delivered.
    /// Inside the Execute of another call it ends as that one's connection does when that one is cancelled.
    virtual void Wait() = 0;
};

} // namespace qxmi
