#include "streams/compression/CompressedBlocks.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

// The sanitizers' libraries look these up in the program, which hides its symbols otherwise.
#if defined(__SANITIZE_ADDRESS__)
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
#elif defined(__SANITIZE_THREAD__)
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}
#endif

TEST(MemoryBuffer, KeepsItsContentsAsItGrows)
{
    qpr::MemoryBuffer buffer;
    buffer.GrowTo(4);
    std::memcpy(buffer.Start(), "abcd", 4);
    buffer.GrowTo(3);
    EXPECT_EQ(buffer.Size(), 4U);
    buffer.GrowTo(100000);
    buffer.Start()[99999] = 'x';
    buffer.GrowTo(100001);
    EXPECT_GE(buffer.Size(), 150000U) << "growing byte by byte must stay cheap";
    EXPECT_EQ(std::string(buffer.Start(), 4), "abcd");
}

TEST(MemoryBuffer, NamesTheSizeThatCannotBeHad)
{
    volatile std::size_t tooMuch = std::numeric_limits<std::size_t>::max() / 2 + 1;
    const std::string size = std::to_string(tooMuch);
    qpr::MemoryBuffer buffer;
    buffer.GrowTo(4);
    EXPECT_EQ(
        test::ErrorOf([&] { buffer.GrowTo(tooMuch); }), "realloc(" + size + ") failed reallocating qpr::MemoryBuffer");
    EXPECT_EQ(buffer.Size(), 4U);
}
