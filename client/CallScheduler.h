#pragma once

#include "client/CallList.h"
#include "client/LocalComputer.h"
#include "client/PendingQueue.h"
#include "client/ServiceCallBase.h"
#include "runtime/Nullable.h"
#include "runtime/threads/ThreadEvent.h"
#include "worktable/WorkSum.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>

namespace QxClient
{

/// Which calls of a connector are queued, which run on this computer and which on the network, which one starts next,
/// and what the other client processes are told of all that.
///
/// A call says by its needs where it may run. On this computer it starts when there is room, and smaller calls overtake
/// larger ones that wait for room. On the network one call at a time waits for a servant, in order of arrival; when it
/// may run here too it is called back as soon as there is room.
///
/// Not thread safe: the caller holds the connector's lock. Owns no call.
class CallScheduler
{
public:
    /// Without a computer there is only the network. A connector without one is woken by the event, the others by the
    /// computer's work table. Both outlive this object.
    CallScheduler(
        LocalComputer* computer, qpr::ThreadEvent& starterEvent, const qpr::Nullable<std::uint64_t>& maxRunningCalls);

    void Append(ServiceCallBase& call);
    void Unqueue(ServiceCallBase& call);

    /// A call that has left the queue and is to be started.
    struct Admission
    {
        ServiceCallBase* call;
        CallPlace place;
        std::exception_ptr error; ///< why it cannot be started after all, and the pass ends; null otherwise
    };

    /// Takes the next call that can be started out of the queue and publishes that, in one hold of the work table: no
    /// other process can have taken its room. Throws when the table is not to be had.
    std::optional<Admission> AdmitNext();

    /// Calls the waiting call back when there is room for it here. The room is taken, and published, at once: until the
    /// call has come back it is both waiting and running here.
    void SwitchWaitingCallIfAdmitted();

    /// Signalled when the waiting call is to come back to this computer. Any thread may wait for it.
    qpr::WaitObject SwitchObject() const noexcept { return m_switchEvent.Object(); }

    void OnSwitched();
    void OnServantAssigned(ServiceCallBase& call);

    /// Takes a started call out of its list. True when it was the one that waits for a servant.
    bool Remove(ServiceCallBase& call);

    /// Tells the other client processes what runs here and what waits, and wakes the connector's starter when it has
    /// something to do. Throws when the table is not to be had.
    void Publish();

    /// The same where nothing may fail: what cannot be published now is made up for later.
    void PublishLater() noexcept;

private:
    std::optional<Admission> AdmitLocally();
    std::optional<Admission> AdmitOnNetwork();
    bool IsLimitReached() const;
    bool IsSwitching() const;
    bool MayComeBack() const;
    void EndWaiting();

    /// Whether a pass of the starter could do anything as things are. The starter is spared the other passes, which
    /// would be most of those that a single call causes.
    bool HasWorkForStarter() const;
    LocalComputer::Wake WhomToWake() const;
    qxm::WorkRecord Record() const;

    LocalComputer* const m_computer; // not owned
    qpr::ThreadEvent& m_starterEvent; // the connector's
    const qpr::Nullable<std::uint64_t> m_maxRunningCalls;
    qpr::ThreadEvent m_switchEvent;
    PendingQueue m_queue;
    CallList m_runningLocally;
    CallList m_runningOnNetwork;
    ServiceCallBase* m_waiting = nullptr; // not owned: at the distributor, without a servant yet
};

} // namespace QxClient
