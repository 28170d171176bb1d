#include "worktable/ProcessEvent.h"

#include "TestTable.h"

#include <gmock/gmock.h>

#include <array>

using qpr::ProcessEvent;
using test::ErrorOf;

TEST(ProcessEvent, BelongsToOneCreatorAndGoesWithIt)
{
    const test::UniqueName name;
    ProcessEvent opened;
    EXPECT_FALSE(opened.TryOpen(name.Local()));
    {
        ProcessEvent creator, second;
        creator.Create(name.Local(), test::ForEveryone());
        EXPECT_EQ("Event '" + qpr::ToUtf8(name.Local()) + "' already exists",
            ErrorOf([&] { second.Create(name.Local(), test::ForEveryone()); }));
        EXPECT_TRUE(opened.TryOpen(name.Local()));
    }
    opened.Signal(); // to nobody
    opened.Close();
    ProcessEvent next;
    EXPECT_FALSE(next.TryOpen(name.Local()));
    next.Create(name.Local(), test::ForEveryone());
}

TEST(ProcessEvent, OneWaitTakesAnyNumberOfSignals)
{
    const test::UniqueName name;
    ProcessEvent creator, other;
    creator.Create(name.Local(), test::ForEveryone());
    ASSERT_TRUE(other.TryOpen(name.Local()));
    const auto expectUnsignalled = [&]
    { EXPECT_EQ("Timeout executing qpr::ProcessEvent::Wait", ErrorOf([&] { creator.Wait(0); })); };

    expectUnsignalled();
    for (int i = 0; i < 1000; ++i)
    {
        creator.Signal();
        other.Signal();
    }
    creator.Wait(0);
    expectUnsignalled();
    creator.Signal();
    creator.Wait(0);
    expectUnsignalled();
}

TEST(ProcessEventGroup, ReachesALivingEventHoweverManyOthersNobodyWaitsFor)
{
    const test::UniqueName name;
    std::array<std::wstring, 400> names; // more than the largest send buffer takes
    std::array<ProcessEvent, 400> events;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        names[i] = name.Local() + std::to_wstring(i);
        events[i].Create(names[i], test::ForEveryone());
    }
    qpr::ProcessEventGroup group(names);
    for (int round = 0; round < 20; ++round)
    {
        for (std::size_t i = 0; i + 1 < names.size(); ++i)
            group.Signal(i);
    }
    group.Signal(names.size() - 1);
    events.back().Wait(0);
}
