#include "support/PipedChild.h"

#include "runtime/text/Utf8.h"
#include "support/ChildMain.h"

#include <filesystem>

namespace test
{

qpr::ProcessStart StartOfChild(const char* body, const std::vector<std::wstring>& arguments)
{
    qpr::ProcessStart start;
    start.executablePath = std::filesystem::absolute(OwnPath()).wstring();
    start.arguments = {start.executablePath, L"--child", qpr::FromUtf8(body)};
    start.arguments.insert(start.arguments.end(), arguments.begin(), arguments.end());
    return start;
}

PipedChild::PipedChild(qpr::ProcessStart start)
{
    start.standardInput = m_input.server.Handle();
    start.standardOutput = m_output.client.Handle();
    start.standardError = m_error.client.Handle();
    process.emplace(start);
    m_input.server.Close();
    m_output.client.Close();
    m_error.client.Close();
}

char PipedChild::ReadByte()
{
    char byte = 0;
    qpr::PipeReader(m_output.server.Handle()).Read(&byte, 1);
    return byte;
}

std::string PipedChild::ReadLine()
{
    std::string line;
    for (char character = ReadByte(); character != 0 && character != '\n'; character = ReadByte())
        line += character;
    return line;
}

std::uint32_t PipedChild::ExitCode()
{
    process->WaitForCompletion();
    return process->CollectExitStatus().exitCode;
}

std::string PipedChild::ReadAll(qpr::PipePair& pipe)
{
    qpr::PipeReader reader(pipe.server.Handle());
    std::string text;
    char piece[1000];
    while (const std::size_t count = reader.Read(piece, sizeof piece))
        text.append(piece, count);
    return text;
}

} // namespace test
