#pragma once

#include "runtime/threads/Mutex.h"
#include "runtime/threads/ThreadEvent.h"

#include <cstdint>
#include <list>

namespace qxd
{

/// The distributor's slots, each of which runs one call, and the calls that wait for one in order of their arrival. Any
/// thread may use it.
class SlotQueue
{
public:
    explicit SlotQueue(std::uint32_t slots);

    /// Gives no more slots: what waits now or comes later is refused.
    void Close();

    /// One call's place: in the queue, then in a slot. Leaving it, or releasing it before, lets the next call in.
    class Place
    {
    public:
        explicit Place(SlotQueue& queue);
        ~Place();
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

        /// Signalled once the call has a slot or is refused one.
        qpr::WaitObject Decided() const noexcept { return m_decided.Object(); }

        bool HasSlot() const;
        void Release();

    private:
        friend SlotQueue;

        SlotQueue& m_queue; // not owned
        bool m_hasSlot = false; // guarded by the queue's lock
        qpr::ThreadEvent m_decided{qpr::ThreadEvent::Kind_ManualReset};
    };

private:
    void Enter(Place& place);
    void Leave(Place& place);
    void Grant() QX_REQUIRES(m_lock);

    mutable qpr::Mutex m_lock;
    std::list<Place*> m_waiting QX_GUARDED_BY(m_lock); // not owned: places leave when they are destroyed
    std::uint32_t m_freeSlots QX_GUARDED_BY(m_lock);
    bool m_isClosed QX_GUARDED_BY(m_lock) = false;
};

} // namespace qxd
