#include "runtime/computer/ControlGroup.h"

#include "runtime/processes/CurrentProcess.h"

#include <gtest/gtest.h>

#include <fstream>

using qpr::ControlGroupLimits;

namespace
{

class ControlGroupTest : public testing::Test
{
protected:
    ~ControlGroupTest() override { std::filesystem::remove_all(m_root); }

    using Files = std::vector<std::pair<const char*, const char*>>;
    void Write(const Files& files) const
    {
        std::filesystem::remove_all(m_root);
        for (const auto& [name, content] : files)
        {
            std::filesystem::create_directories((m_root / name).parent_path());
            std::ofstream(m_root / name) << content;
        }
    }

    ControlGroupLimits Read() const { return ControlGroupLimits::Read(m_root / "membership", m_hierarchy); }

private:
    const std::filesystem::path m_root =
        std::filesystem::temp_directory_path() / ("qxcgroup-" + std::to_string(qpr::CurrentProcess::GetId()));
    const std::filesystem::path m_hierarchy = m_root / "fs";
};

} // namespace

TEST_F(ControlGroupTest, TheTightestLevelOfEitherVersionCounts)
{
    // name, files, processors and bytes of memory: 0 where there is no limit
    const std::tuple<const char*, Files, double, std::uint64_t> cases[] = {
        {"every level",
            {{"membership", "4:memory:/other\n0::/slice/job\n"}, {"fs/slice/job/cpu.max", "max 100000\n"},
                {"fs/slice/cpu.max", "150000 100000\n"}, {"fs/slice/job/memory.max", "1000\n"},
                {"fs/slice/memory.max", "max\n"}, {"fs/memory.max", "2000\n"}},
            1.5, 1000},
        {"a container's group at the top, under another name",
            {{"membership", "0::/elsewhere/container\n"}, {"fs/cpu.max", "400000 100000\n"}}, 4, 0},
        {"version 1, a hierarchy a controller",
            {{"membership", "5:cpuset:/a\n4:cpu,cpuacct:/slice/job\n3:memory:/slice\n0::/\n"},
                {"fs/cpu/slice/job/cpu.cfs_quota_us", "-1\n"}, {"fs/cpu/slice/job/cpu.cfs_period_us", "100000\n"},
                {"fs/cpu/slice/cpu.cfs_quota_us", "50000\n"}, {"fs/cpu/slice/cpu.cfs_period_us", "100000\n"},
                {"fs/memory/slice/memory.limit_in_bytes", "3000\n"},
                {"fs/memory/memory.limit_in_bytes", "9223372036854771712\n"}},
            0.5, 3000},
        {"version 1, the container's group at the top",
            {{"membership", "2:memory:/docker/1\n1:cpuacct,cpu:/docker/1\n"}, {"fs/cpu/cpu.cfs_quota_us", "200000\n"},
                {"fs/cpu/cpu.cfs_period_us", "100000\n"}, {"fs/memory/memory.limit_in_bytes", "5000\n"}},
            2, 5000},
        {"both versions at once",
            {{"membership", "2:cpu:/a\n0::/b\n"}, {"fs/cpu/a/cpu.cfs_quota_us", "300000\n"},
                {"fs/cpu/a/cpu.cfs_period_us", "100000\n"}, {"fs/b/memory.max", "4000\n"}},
            3, 4000},
        {"nothing there", {}, 0, 0},
        {"rubbish",
            {{"membership", "rubbish\n"}, {"fs/cpu.max", "-1 0\n"}, {"fs/memory.max", "\n"},
                {"fs/cpu/cpu.cfs_quota_us", "1\n"}, {"fs/memory/memory.limit_in_bytes", "x\n"}},
            0, 0},
    };
    for (const auto& [name, files, processors, memoryInBytes] : cases)
    {
        SCOPED_TRACE(name);
        Write(files);
        const ControlGroupLimits limits = Read();
        EXPECT_EQ(limits.processors.IsNull() ? 0 : limits.processors.Value(), processors);
        EXPECT_EQ(limits.memoryInBytes.IsNull() ? 0 : limits.memoryInBytes.Value(), memoryInBytes);
    }
}
