#include "runtime/named/SharedMemorySegment.h"

#include "support/ErrorOf.h"
#include "support/UniqueName.h"

#include <gmock/gmock.h>

using qpr::SharedMemorySegment;

TEST(SharedMemorySegment, RefusesASmallerOneBeyondItsPage)
{
    const test::UniqueName name;
    const SharedMemorySegment small(name.Local(), 100, test::ForEveryone());
    const SharedMemorySegment samePage(name.Local(), 4096, test::ForEveryone());
    EXPECT_THAT(test::ErrorOf([&] { SharedMemorySegment(name.Local(), 4097, test::ForEveryone()); }),
        testing::StartsWith("Existing shared memory segment '" + qpr::ToUtf8(name.Local())
            + "' too small (minimum size = 4097, actual size = 4096)"));
}
