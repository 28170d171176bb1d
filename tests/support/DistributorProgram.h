#pragma once

#include "support/ProgramRun.h"

namespace test
{

/// The program qx-distributor, on loopback.
class DistributorProgram final : public RunningProgram
{
public:
    /// Returns when it is ready. The port 0 lets the system choose; the computer that it stands for is another one
    /// unless told.
    explicit DistributorProgram(const std::wstring& configuration, unsigned slots, const std::wstring& port = L"0",
        const std::wstring& hostName = L"elsewhere", const std::map<std::wstring, std::wstring>& environment = {});

    const std::wstring& Port() const { return m_port; }

private:
    std::wstring m_port;
};

} // namespace test
