#include "worktable/SharedMemorySegment.h"

#include "TestTable.h"

#include <gtest/gtest.h>

#include <filesystem>

using qpr::SharedMemorySegment;

TEST(SharedMemorySegmentPosix, RefusesAnEmptyFile)
{
    const test::UniqueName name;
    const SharedMemorySegment segment(name.Local(), 100, test::ForEveryone());
    std::filesystem::resize_file(name.Files().at(0), 0);
    EXPECT_EQ("Existing shared memory segment '" + qpr::ToUtf8(name.Local())
            + "' too small (minimum size = 100, actual size = 0)",
        test::ErrorOf([&] { SharedMemorySegment(name.Local(), 100, test::ForEveryone()); }));
}
