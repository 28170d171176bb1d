#include "client/PendingQueue.h"

#include <iterator>
#include <utility>

namespace QxClient
{

void PendingQueue::Append(ServiceCallBase& call, const CallNeeds& needs, Place& place)
{
    const auto [lane, isNew] = m_lanes.try_emplace(needs);
    Lane& entries = lane->second;
    try
    {
        entries.push_back({&call, m_nextArrival});
        if (isNew)
            m_heads.emplace(m_nextArrival, lane);
    }
    catch (...)
    {
        if (isNew)
            m_lanes.erase(lane);
        throw;
    }
    place.m_queued = true;
    place.m_lane = lane;
    place.m_entry = std::prev(entries.end());
    ++m_nextArrival;
    ++m_count;
    if (needs.canRunLocally)
    {
        ++m_localSum.calls;
        m_localSum.processors += needs.processors;
        m_localSum.memoryInMB += needs.memoryInMB;
    }
}

void PendingQueue::Remove(Place& place)
{
    if (!place.m_queued)
        return;
    const auto lane = place.m_lane;
    const CallNeeds needs = lane->first;
    Lane& entries = lane->second;
    const bool wasFirst = place.m_entry == entries.begin();
    const std::uint64_t arrival = place.m_entry->arrival;
    if (wasFirst && entries.size() > 1)
    {
        auto head = m_heads.extract(arrival); // reuses the node: removing must not fail
        head.key() = std::next(place.m_entry)->arrival;
        m_heads.insert(std::move(head));
    }
    else if (wasFirst)
        m_heads.erase(arrival);
    entries.erase(place.m_entry);
    if (entries.empty())
        m_lanes.erase(lane);
    place.m_queued = false;
    --m_count;
    if (needs.canRunLocally)
    {
        --m_localSum.calls;
        m_localSum.processors -= needs.processors;
        m_localSum.memoryInMB -= needs.memoryInMB;
    }
    if (m_localSum.calls == 0)
        m_localSum = {}; // what rounding left behind does not stay
}

ServiceCallBase* PendingQueue::FirstOf(Lanes::iterator lane) const
{
    return lane->second.front().call;
}

} // namespace QxClient
