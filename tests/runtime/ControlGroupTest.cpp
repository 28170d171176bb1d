#include "runtime/ControlGroup.h"

#include "runtime/CurrentProcess.h"

#include <gtest/gtest.h>

#include <fstream>

using qpr::ControlGroupLimits;

namespace
{

class ControlGroupTest : public testing::Test
{
protected:
    ControlGroupTest() { std::filesystem::create_directories(m_hierarchy / "slice" / "job"); }
    ~ControlGroupTest() override { std::filesystem::remove_all(m_root); }

    void Write(const std::filesystem::path& name, const char* content) const
    {
        std::ofstream(m_root / name) << content;
    }

    ControlGroupLimits Read() const { return ControlGroupLimits::Read(m_root / "membership", m_hierarchy); }

private:
    const std::filesystem::path m_root =
        std::filesystem::temp_directory_path() / ("qxcgroup-" + std::to_string(qpr::CurrentProcess::GetId()));
    const std::filesystem::path m_hierarchy = m_root / "fs";
};

} // namespace

TEST_F(ControlGroupTest, TheTightestLevelCounts)
{
    Write("membership", "4:memory:/other\n0::/slice/job\n");
    Write("fs/slice/job/cpu.max", "max 100000\n");
    Write("fs/slice/cpu.max", "150000 100000\n");
    Write("fs/slice/job/memory.max", "1000\n");
    Write("fs/slice/memory.max", "max\n");
    Write("fs/memory.max", "2000\n");
    EXPECT_EQ(Read().processors.Value(), 1.5);
    EXPECT_EQ(Read().memoryInBytes.Value(), 1000u);
}

TEST_F(ControlGroupTest, AContainersGroupMayBeTheTopUnderAnotherName)
{
    Write("membership", "0::/elsewhere/container\n");
    Write("fs/cpu.max", "400000 100000\n");
    EXPECT_EQ(Read().processors.Value(), 4.0);
    EXPECT_TRUE(Read().memoryInBytes.IsNull());
}

TEST_F(ControlGroupTest, WhatCannotBeReadLimitsNothing)
{
    EXPECT_TRUE(Read().processors.IsNull());
    Write("membership", "rubbish\n");
    Write("fs/cpu.max", "-1 0\n");
    Write("fs/memory.max", "\n");
    EXPECT_TRUE(Read().processors.IsNull());
    EXPECT_TRUE(Read().memoryInBytes.IsNull());
}
