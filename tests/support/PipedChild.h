#pragma once

#include "runtime/channels/NamedPipe.h"
#include "runtime/processes/ChildProcess.h"

#include <optional>
#include <string>
#include <vector>

namespace test
{

/// Starts a registered body of this test program.
qpr::ProcessStart StartOfChild(const char* body, const std::vector<std::wstring>& arguments = {});

/// A child with a pipe at each of its standard streams.
class PipedChild
{
public:
    explicit PipedChild(qpr::ProcessStart start);

    void Write(const std::string& text) { qpr::IOWriter(m_input.client.Handle()).Write(text.data(), text.size()); }
    void CloseInput() { m_input.client.Close(); }
    std::string ReadOutput() { return ReadAll(m_output); }
    std::string ReadError() { return ReadAll(m_error); }
    char ReadByte();

    /// Up to a line feed, which is taken, or to the end of the output.
    std::string ReadLine();

    /// Waits for the end.
    std::uint32_t ExitCode();

    std::optional<qpr::ChildProcess> process;

private:
    static std::string ReadAll(qpr::PipePair& pipe);

    qpr::PipePair m_input = qpr::PipePair::ToChild();
    qpr::PipePair m_output = qpr::PipePair::FromChild();
    qpr::PipePair m_error = qpr::PipePair::FromChild();
};

} // namespace test
