#include "distributor/SlotQueue.h"

namespace qxd
{

SlotQueue::SlotQueue(std::uint32_t slots)
    : m_freeSlots(slots)
{
}

void SlotQueue::Close()
{
    const qpr::ScopedLock lock(m_lock);
    m_isClosed = true;
    for (Place* place : m_waiting)
        place->m_decided.Signal();
    m_waiting.clear();
}

void SlotQueue::Enter(Place& place)
{
    const qpr::ScopedLock lock(m_lock);
    if (m_isClosed)
        place.m_decided.Signal();
    else
        m_waiting.push_back(&place);
    Grant();
}

void SlotQueue::Leave(Place& place)
{
    const qpr::ScopedLock lock(m_lock);
    m_waiting.remove(&place);
    if (place.m_hasSlot)
        ++m_freeSlots;
    place.m_hasSlot = false;
    Grant();
}

void SlotQueue::Grant()
{
    while (m_freeSlots != 0 && !m_waiting.empty())
    {
        Place& next = *m_waiting.front();
        m_waiting.pop_front();
        --m_freeSlots;
        next.m_hasSlot = true;
        next.m_decided.Signal();
    }
}

SlotQueue::Place::Place(SlotQueue& queue)
    : m_queue(queue)
{
    m_queue.Enter(*this);
}

SlotQueue::Place::~Place()
{
    Release();
}

bool SlotQueue::Place::HasSlot() const
{
    const qpr::ScopedLock lock(m_queue.m_lock);
    return m_hasSlot;
}

void SlotQueue::Place::Release()
{
    m_queue.Leave(*this);
}

} // namespace qxd
