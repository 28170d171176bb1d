#include "client/PendingQueue.h"

#include "client/LocalAdmission.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace
{

using QxClient::CallNeeds;
using QxClient::PendingQueue;
using QxClient::ServiceCallBase;

/// Stands for the n-th call; the queue never looks into one.
ServiceCallBase& CallNumber(std::size_t n)
{
    return *reinterpret_cast<ServiceCallBase*>(n * 16);
}

std::size_t NumberOf(ServiceCallBase* call)
{
    return reinterpret_cast<std::size_t>(call) / 16;
}

TEST(PendingQueue, WalksInArrivalOrderAndAsksOnceForCallsOfEqualNeeds)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<CallNeeds> needs{{3, 1}, {1, 1}, {3, 1}, {nan, 1}, {1, 1}, {3, 1}};
    std::vector<PendingQueue::Place> places(needs.size());
    PendingQueue queue;
    for (std::size_t i = 0; i < needs.size(); ++i)
        queue.Append(CallNumber(i + 1), needs[i], places[i]);

    int asked = 0;
    const auto smallOnes = [&](const CallNeeds& n)
    {
        ++asked;
        return n.processors == 1;
    };
    PendingQueue::Walk walk(queue);
    std::vector<std::size_t> seen;
    while (ServiceCallBase* call = walk.Next(smallOnes))
    {
        seen.push_back(NumberOf(call));
        queue.Remove(places[seen.back() - 1]);
    }
    EXPECT_EQ(seen, (std::vector<std::size_t>{2, 5}));
    EXPECT_LE(asked, 5);

    queue.Remove(places[0]);
    PendingQueue::Walk rest(queue);
    EXPECT_EQ(NumberOf(rest.Next([](const CallNeeds&) { return true; })), 3u);
}

TEST(PendingQueue, SumsTheCallsThatCanRunHereAndForgetsRoundingWhenEmpty)
{
    PendingQueue queue;
    std::vector<PendingQueue::Place> places(3);
    queue.Append(CallNumber(1), {0.1f, 1e9f, true}, places[0]);
    queue.Append(CallNumber(2), {0.2f, 0.001f, true}, places[1]);
    queue.Append(CallNumber(3), {7, 7, false}, places[2]);
    EXPECT_EQ(queue.SumOfLocal().calls, 2u);
    EXPECT_FLOAT_EQ(static_cast<float>(queue.SumOfLocal().processors), 0.3f);
    queue.Remove(places[0]);
    queue.Remove(places[1]);
    queue.Remove(places[1]); // no longer there
    EXPECT_FALSE(queue.IsEmpty());
    EXPECT_EQ(queue.SumOfLocal().processors, 0);
    EXPECT_EQ(queue.SumOfLocal().memoryInMB, 0);
}

TEST(LocalAdmission, FollowsItsRules)
{
    struct Case
    {
        const char* what;
        QxClient::LocalLoad load;
        CallNeeds needs;
        std::size_t ownCalls;
        bool admitted;
    };
    const Case cases[] = {
        {"idle computer", {0, 0, 0}, {100, 99999}, 0, true},
        {"small call, none of ours runs", {3, 8, 900}, {4, 511.9f}, 0, true},
        {"small call, one of ours runs", {3, 8, 900}, {4, 511.9f}, 1, false},
        {"not small: equal to the limit", {3, 8, 900}, {4, 512}, 0, false},
        {"processors just fit", {1, 3, 0}, {1, 600}, 1, true},
        {"processors do not fit", {1, 3, 0}, {1.001f, 600}, 1, false},
        {"memory just fits", {1, 0, 400}, {1, 600}, 1, true},
        {"memory does not fit", {1, 0, 401}, {1, 600}, 1, false},
    };
    const qxm::LocalExecutionSettings settings;
    const qxm::LocalLimits limits(4, 1000, settings);
    for (const Case& c : cases)
        EXPECT_EQ(IsAdmitted(c.needs, c.load, c.ownCalls, limits, settings), c.admitted) << c.what;
}

} // namespace
