#include "runtime/text/CheckedIntCast.h"

#include "runtime/Nullable.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace
{

using qpr::CheckedIntCast;

TEST(CheckedIntCastDeathTest, ValuesThatDoNotFitPanic)
{
    EXPECT_EQ(-128, CheckedIntCast<std::int8_t>(std::int64_t(-128)));
    EXPECT_EQ(0xFFFFFFFFu, CheckedIntCast<std::uint32_t>(std::int64_t(0xFFFFFFFF)));
    EXPECT_EQ(INT64_MAX, CheckedIntCast<std::int64_t>(std::uint64_t(INT64_MAX)));
    EXPECT_DEATH(CheckedIntCast<std::uint32_t>(-1), "^Panic: from >= 0 failed in qpr::CheckedIntCast\\.89\n");
    EXPECT_DEATH(CheckedIntCast<std::int8_t>(-129),
        "^Panic: from >= static_cast<FromIntT>\\(std::numeric_limits<ToIntT>::min\\(\\)\\) failed in "
        "qpr::CheckedIntCast\\.85\n");
    EXPECT_DEATH(CheckedIntCast<std::int64_t>(UINT64_MAX),
        "^Panic: from <= static_cast<FromIntT>\\(std::numeric_limits<ToIntT>::max\\(\\)\\) failed in "
        "qpr::CheckedIntCast\\.86\n");
}

TEST(NullableDeathTest, ReadingAnEmptyOnePanics)
{
    EXPECT_DEATH(qpr::Nullable<float>().Value(), "^Panic: !m_isNull failed in qpr::Nullable::Value");
}

} // namespace
