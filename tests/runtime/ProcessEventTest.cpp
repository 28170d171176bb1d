#include "runtime/named/ProcessEvent.h"

#include "support/ErrorOf.h"
#include "support/UniqueName.h"

#include <gmock/gmock.h>

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
        EXPECT_FALSE(second.TryCreate(name.Local(), test::ForEveryone()));
        EXPECT_TRUE(opened.TryOpen(name.Local()));
    }
    opened.Signal(); // to nobody
    opened.Close();
    ProcessEvent next;
    EXPECT_FALSE(next.TryOpen(name.Local()));
    EXPECT_TRUE(next.TryCreate(name.Local(), test::ForEveryone()));
    EXPECT_EQ("Timeout executing qpr::ProcessEvent::Wait", ErrorOf([&] { next.Wait(0); }));
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
