#include "worktable/SharedMemorySegment.h"

#include "TestTable.h"

#include <gtest/gtest.h>

using qpr::SharedMemorySegment;

TEST(SharedMemorySegment, IsOneMemoryByWhateverWayItIsOpened)
{
    const test::UniqueName name;
    EXPECT_EQ(nullptr, SharedMemorySegment::TryOpenReadOnly(name.Local(), 100));
    SharedMemorySegment first(name.Local(), 100, test::ForEveryone());
    SharedMemorySegment second(name.Local(), 100, test::ForEveryone());
    EXPECT_EQ(0, static_cast<char*>(second.Address())[99]);
    static_cast<char*>(first.Address())[99] = 7;
    EXPECT_EQ(7, static_cast<char*>(second.Address())[99]);
    const auto readOnly = SharedMemorySegment::TryOpenReadOnly(name.Local(), 100);
    ASSERT_NE(nullptr, readOnly);
    EXPECT_EQ(7, static_cast<const char*>(readOnly->Address())[99]);
}

TEST(SharedMemorySegment, RefusesASmallerOneBeyondItsPage)
{
    const test::UniqueName name;
    const SharedMemorySegment small(name.Local(), 100, test::ForEveryone());
    const SharedMemorySegment samePage(name.Local(), 4096, test::ForEveryone());
    EXPECT_EQ("Existing shared memory segment '" + qpr::ToUtf8(name.Local())
            + "' too small (minimum size = 4097, actual size = 4096)",
        test::ErrorOf([&] { SharedMemorySegment(name.Local(), 4097, test::ForEveryone()); }));
}
