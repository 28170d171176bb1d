#include "support/DistributorProgram.h"

#include "runtime/text/Utf8.h"

#include <stdexcept>

namespace test
{

DistributorProgram::DistributorProgram(const std::wstring& configuration, unsigned slots, const std::wstring& port,
    const std::wstring& hostName, const std::map<std::wstring, std::wstring>& environment)
    : RunningProgram({L"qx-distributor",
        {L"--config", configuration, L"--listen", L"127.0.0.1:" + port, L"--slots", std::to_wstring(slots),
            L"--host-name", hostName},
        {}, environment})
{
    const std::string start = "qx-distributor listening on 127.0.0.1:";
    const std::string output = WaitForOutput("\n");
    if (!output.starts_with(start))
        throw std::runtime_error("qx-distributor does not start: " + WaitForErrors("\n"));
    m_port = qpr::FromUtf8(output.substr(start.size(), output.find('\n') - start.size()));
}

} // namespace test
