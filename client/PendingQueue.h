#pragma once

#include "client/CallNeeds.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>

namespace QxClient
{

class ServiceCallBase;

/// The queued calls of a connector, in arrival order. Calls of equal needs stand in one lane, so that a walk asks once
/// per kind of call and not once per call: 100,000 alike calls that are refused cost one question.
///
/// Not thread safe; the caller holds the connector's lock. Owns no call.
class PendingQueue
{
    struct Entry
    {
        ServiceCallBase* call; // not owned: a call leaves the queue before it ends
        std::uint64_t arrival;
    };
    using Lane = std::list<Entry>;
    using Lanes = std::map<CallNeeds, Lane>;

public:
    /// The sums that a connector publishes of its queue: of the calls that can run locally.
    struct LocalSum
    {
        std::uint32_t calls = 0;
        double processors = 0;
        double memoryInMB = 0;
    };

    /// A call's place in the queue, kept by the call; empty while it is not queued.
    class Place
    {
    public:
        bool IsQueued() const noexcept { return m_queued; }

    private:
        friend class PendingQueue;
        bool m_queued = false;
        Lanes::iterator m_lane;
        Lane::iterator m_entry;
    };

    /// Appends the call at the tail. The place stays the call's and must not move.
    void Append(ServiceCallBase& call, const CallNeeds& needs, Place& place);

    /// Does nothing for a call that is not queued.
    void Remove(Place& place);

    bool IsEmpty() const noexcept { return m_count == 0; }
    const LocalSum& SumOfLocal() const noexcept { return m_localSum; }

    /// A walk from the head: each Next names the first call, not before the last one named, whose needs the predicate
    /// admits; null at the end. Calls may be removed between two steps.
    class Walk
    {
    public:
        explicit Walk(const PendingQueue& queue)
            : m_queue(queue)
        {
        }

        template <class Predicate>
        ServiceCallBase* Next(Predicate admits)
        {
            for (auto head = m_queue.m_heads.lower_bound(m_position); head != m_queue.m_heads.end(); ++head)
            {
                if (admits(head->second->first))
                {
                    m_position = head->first;
                    return m_queue.FirstOf(head->second);
                }
            }
            return nullptr;
        }

    private:
        const PendingQueue& m_queue;
        std::uint64_t m_position = 0;
    };

private:
    ServiceCallBase* FirstOf(Lanes::iterator lane) const;

    Lanes m_lanes;
    std::map<std::uint64_t, Lanes::iterator> m_heads; // the lanes by the arrival number of their first call
    std::uint64_t m_nextArrival = 1;
    std::size_t m_count = 0;
    LocalSum m_localSum;
};

} // namespace QxClient
