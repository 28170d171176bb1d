#pragma once

#include "client/CallNeeds.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace QxClient
{

class ServiceCallBase;

/// The queued calls of a connector, in arrival order: the leaves of a binary tree whose nodes know the least that any
/// call below them needs, and what those calls need together. A search asks about a node before it looks below it, so
/// that refusing 100,000 calls, alike or all different, mostly costs one question.
///
/// Not thread safe; the caller holds the connector's lock. Owns no call.
class PendingQueue
{
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
        std::size_t m_leaf = 0;
    };

    /// Appends the call at the tail. The place stays the call's and must not move.
    void Append(ServiceCallBase& call, const CallNeeds& needs, Place& place);

    /// Does nothing for a call that is not queued.
    void Remove(Place& place) noexcept;

    bool IsEmpty() const noexcept { return m_nodes[root].count == 0; }
    const LocalSum& SumOfLocal() const noexcept { return m_nodes[root].localSum; }

    /// The first call whose needs the predicate admits; null when there is none. The predicate is monotonic:
    /// if it admits some needs, it admits all smaller ones. Amounts are meaningful only where canRunLocally is set.
    template <class Predicate>
    ServiceCallBase* FindFirst(Predicate admits) const
    {
        std::size_t i = root;
        while (i != end)
        {
            const Node& node = m_nodes[i];
            if (node.count == 0 || !admits(node.least))
                i = NextAfter(i);
            else if (i < m_leaves.size())
                i *= 2;
            else
                return m_leaves[i - m_leaves.size()].call;
        }
        return nullptr;
    }

private:
    static constexpr std::size_t root = 1;
    static constexpr std::size_t end = 0;

    /// The node right of this one and of all below it.
    static std::size_t NextAfter(std::size_t node) noexcept
    {
        while (node % 2 == 1)
            node /= 2;
        return node == end ? end : node + 1;
    }

    struct Node
    {
        std::uint32_t count = 0; ///< of calls below it
        CallNeeds least = {
            std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(), false, false};
        LocalSum localSum;
    };

    struct Leaf
    {
        ServiceCallBase* call = nullptr; ///< not owned: a call leaves the queue before it ends
        Place* place = nullptr; ///< null: the call has left
    };

    static Node Join(const Node& left, const Node& right) noexcept;
    void UpdateAbove(std::size_t node) noexcept;
    void MakeRoom();

    std::vector<Node> m_nodes = std::vector<Node>(2); ///< children of i: 2i and 2i+1; the leaves' come last
    std::vector<Leaf> m_leaves = std::vector<Leaf>(1); ///< as many as there is room for: a power of two
    std::size_t m_tail = 0; ///< the leaf that the next call gets
};

} // namespace QxClient
