#pragma once

#include "bench/Installation.h"
#include "runtime/channels/NamedPipe.h"
#include "runtime/processes/ChildProcess.h"

#include <fcntl.h>
#include <optional>
#include <string>

namespace bench
{

/// qx-distributor of this build for an installation's services, on loopback; ended with the object.
class DistributorProcess
{
public:
    /// Stands for another computer when it gets a host name.
    DistributorProcess(const Installation& installation, int slots, const std::wstring& hostName = L"")
    {
        qpr::PipePair input = qpr::PipePair::ToChild();
        qpr::PipePair output = qpr::PipePair::FromChild();
        // Room for all that it says, which nobody reads.
        fcntl(static_cast<int>(output.server.Handle().Value()), F_SETPIPE_SZ, 1 << 20);
        qpr::ProcessStart start;
        start.executablePath = ProgramPath("qx-distributor").wstring();
        start.arguments = {L"qx-distributor", L"--config", installation.ConfigurationPath().wstring(), L"--listen",
            L"127.0.0.1:0", L"--slots", std::to_wstring(slots)};
        if (!hostName.empty())
            start.arguments.insert(start.arguments.end(), {L"--host-name", hostName});
        start.standardInput = input.server.Handle();
        start.standardOutput = output.client.Handle();
        start.standardError = qpr::NativeHandle(2);
        m_process.emplace(start);
        output.client.Close();
        m_output = std::move(output.server);
        const std::string line = ReadLine();
        m_port = line.substr(line.rfind(':') + 1);
    }

    const std::string& Port() const noexcept { return m_port; }
    std::uint32_t ProcessId() const noexcept { return m_process->ProcessId(); }

private:
    std::string ReadLine()
    {
        qpr::PipeReader reader(m_output.Handle());
        std::string line;
        for (char byte = 0; reader.Read(&byte, 1) != 0 && byte != '\n';)
            line += byte;
        return line;
    }

    std::optional<qpr::ChildProcess> m_process;
    qpr::PipeEnd m_output;
    std::string m_port;
};

} // namespace bench
