#include "runtime/threads/NativeHandle.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace
{

/// Handles with the number 13 are refused.
struct RecordingKind
{
    static bool Close(qpr::NativeHandle handle)
    {
        closed.push_back(handle.Value());
        return handle.Value() != 13;
    }
    [[noreturn]] static void Fail() noexcept { qpr::Panic("Close", "RecordingKind"); }

    static inline std::vector<std::intptr_t> closed;
};

using Handle = qpr::OwnedHandle<RecordingKind>;

TEST(OwnedHandle, ClosesEachHandleOnce)
{
    RecordingKind::closed.clear();
    {
        Handle first(qpr::NativeHandle(1));
        Handle& itself = first;
        first = std::move(itself);
        EXPECT_EQ(first.Get().Value(), 1);
        Handle moved(std::move(first));
        Handle target(qpr::NativeHandle(2));
        target = std::move(moved);
        EXPECT_EQ(RecordingKind::closed, std::vector<std::intptr_t>{2}) << "what a move replaces is closed at once";
        EXPECT_FALSE(moved.IsValid());
        Handle released(qpr::NativeHandle(3));
        EXPECT_EQ(released.Release().Value(), 3);
        Handle closed(qpr::NativeHandle(4));
        EXPECT_TRUE(closed.Close());
    }
    EXPECT_EQ(RecordingKind::closed, (std::vector<std::intptr_t>{2, 4, 1}));
}

TEST(OwnedHandleDeathTest, ADestructorThatIsRefusedPanics)
{
    EXPECT_FALSE(Handle(qpr::NativeHandle(13)).Close());
    EXPECT_DEATH(Handle(qpr::NativeHandle(13)), "^Panic: Close failed in RecordingKind");
    EXPECT_DEATH(qpr::SystemHandle<"Test::~Test">(qpr::NativeHandle(1 << 30)),
        "^Panic: CloseHandle\\(m_handle\\) failed in Test::~Test");
}

} // namespace
