#include "client/PendingQueue.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace QxClient
{

void PendingQueue::Append(ServiceCallBase& call, const CallNeeds& needs, Place& place)
{
    if (m_tail == m_leaves.size())
        MakeRoom();
    Node node;
    node.count = 1;
    node.least.canRunLocally = needs.canRunLocally;
    node.least.mayGoToNetwork = needs.mayGoToNetwork;
    if (needs.canRunLocally)
    {
        node.least.processors = needs.processors;
        node.least.memoryInMB = needs.memoryInMB;
        node.localSum = {1, needs.processors, needs.memoryInMB};
    }
    m_leaves[m_tail] = {&call, &place};
    m_nodes[m_leaves.size() + m_tail] = node;
    UpdateAbove(m_leaves.size() + m_tail);
    place.m_queued = true;
    place.m_leaf = m_tail++;
}

void PendingQueue::Remove(Place& place) noexcept
{
    if (!std::exchange(place.m_queued, false))
        return;
    m_leaves[place.m_leaf] = {};
    m_nodes[m_leaves.size() + place.m_leaf] = {};
    UpdateAbove(m_leaves.size() + place.m_leaf);
    if (IsEmpty())
        m_tail = 0;
}

PendingQueue::Node PendingQueue::Join(const Node& left, const Node& right) noexcept
{
    Node both;
    both.count = left.count + right.count;
    both.least = {std::min(left.least.processors, right.least.processors),
        std::min(left.least.memoryInMB, right.least.memoryInMB), left.least.canRunLocally || right.least.canRunLocally,
        left.least.mayGoToNetwork || right.least.mayGoToNetwork};
    both.localSum = {left.localSum.calls + right.localSum.calls, left.localSum.processors + right.localSum.processors,
        left.localSum.memoryInMB + right.localSum.memoryInMB};
    return both;
}

void PendingQueue::UpdateAbove(std::size_t node) noexcept
{
    for (node /= 2; node >= root; node /= 2)
        m_nodes[node] = Join(m_nodes[2 * node], m_nodes[2 * node + 1]);
}

/// Moves the calls together, with at least as much room behind them.
void PendingQueue::MakeRoom()
{
    const std::size_t size = std::bit_ceil(2 * (std::size_t{m_nodes[root].count} + 1));
    std::vector<Leaf> leaves(size);
    std::vector<Node> nodes(2 * size);
    std::size_t tail = 0;
    for (std::size_t i = 0; i < m_leaves.size(); ++i)
    {
        if (!m_leaves[i].place)
            continue;
        nodes[size + tail] = m_nodes[m_leaves.size() + i];
        leaves[tail] = m_leaves[i];
        leaves[tail].place->m_leaf = tail;
        ++tail;
    }
    for (std::size_t node = size - 1; node >= root; --node)
        nodes[node] = Join(nodes[2 * node], nodes[2 * node + 1]);
    m_leaves.swap(leaves);
    m_nodes.swap(nodes);
    m_tail = tail;
}

} // namespace QxClient
