#include "support/DistributorProgram.h"

#include "runtime/Utf8.h"

#include <gtest/gtest.h>

namespace test
{

DistributorProgram::DistributorProgram(
    const std::wstring& configuration, unsigned slots, const std::wstring& port, const std::wstring& hostName)
    : RunningProgram({L"qx-distributor",
        {L"--config", configuration, L"--listen", L"127.0.0.1:" + port, L"--slots", std::to_wstring(slots),
            L"--host-name", hostName}})
{
    const std::string start = "qx-distributor listening on 127.0.0.1:";
    const std::string output = WaitForOutput("\n");
    EXPECT_EQ(output.substr(0, start.size()), start);
    m_port = qpr::FromUtf8(output.substr(start.size(), output.find('\n') - start.size()));
}

} // namespace test
