#include "client/PendingQueue.h"

#include "client/LocalComputer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
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

TEST(PendingQueue, FindsAndSumsLikeAList)
{
    std::mt19937 random(1);
    std::vector<CallNeeds> needs;
    std::deque<PendingQueue::Place> places;
    PendingQueue queue;
    for (int round = 0; round < 3000; ++round)
    {
        const bool isFilling = round / 500 % 2 == 0;
        if (random() % 4 < (isFilling ? 3U : 1U))
        {
            needs.push_back({static_cast<float>(random() % 8), static_cast<float>(random() % 8), random() % 4 != 0});
            queue.Append(CallNumber(needs.size()), needs.back(), places.emplace_back());
        }
        const CallNeeds limit{static_cast<float>(random() % 8), static_cast<float>(random() % 8)};
        const auto fits = [&](const CallNeeds& call)
        { return call.canRunLocally && call.processors <= limit.processors && call.memoryInMB <= limit.memoryInMB; };
        PendingQueue::LocalSum sum;
        std::vector<std::size_t> expected, found;
        for (std::size_t i = 0; i < needs.size(); ++i)
        {
            if (!places[i].IsQueued())
                continue;
            if (needs[i].canRunLocally)
                sum = {sum.calls + 1, sum.processors + needs[i].processors, sum.memoryInMB + needs[i].memoryInMB};
            if (fits(needs[i]))
                expected.push_back(i + 1);
        }
        EXPECT_EQ(queue.SumOfLocal().calls, sum.calls);
        EXPECT_EQ(queue.SumOfLocal().processors, sum.processors);
        EXPECT_EQ(queue.SumOfLocal().memoryInMB, sum.memoryInMB);
        expected.resize(std::min<std::size_t>(expected.size(), 3));
        while (ServiceCallBase* call = found.size() < 3 ? queue.FindFirst(fits) : nullptr)
        {
            found.push_back(NumberOf(call));
            queue.Remove(places[found.back() - 1]);
            queue.Remove(places[found.back() - 1]); // no longer there
        }
        ASSERT_EQ(found, expected) << round;
    }
}

TEST(PendingQueue, AsksOnceForAnyNumberOfCallsThatAreAllRefused)
{
    std::vector<PendingQueue::Place> places(1000);
    PendingQueue queue;
    for (std::size_t i = 0; i < places.size(); ++i)
        queue.Append(CallNumber(i + 1), {1 + static_cast<float>(i), 2000 - static_cast<float>(i)}, places[i]);
    int asked = 0;
    const auto refuses = [&asked](const CallNeeds& least)
    {
        ++asked;
        return least.processors < 1;
    };
    EXPECT_EQ(queue.FindFirst(refuses), nullptr);
    EXPECT_EQ(asked, 1);
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
