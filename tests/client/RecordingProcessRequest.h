#pragma once

#include "runtime/text/Utf8.h"
#include "runtime/threads/ThreadEvent.h"
#include "support/ChildMain.h"

#include <qxmi/IProcessRequestW.h>

#include <string>
#include <vector>

namespace test
{

/// A process request that remembers what it hears, its lines each with a "|" behind it. Starts this test program unless
/// told otherwise.
class RecordingProcessRequest final : public qxmi::IProcessRequestW
{
public:
    explicit RecordingProcessRequest(std::vector<std::wstring> arguments, std::wstring path = qpr::FromUtf8(OwnPath()))
        : m_path(std::move(path))
        , m_arguments(std::move(arguments))
    {
    }

    void GetExecutablePath(std::wstring& path) override { path = m_path; }
    void GetArguments(std::vector<std::wstring>& arguments) override { arguments = m_arguments; }
    void GetWorkingDirectory(std::wstring&) override { }
    void GetEnvironment(std::map<std::wstring, std::wstring>& variables) override
    {
        variables[L"QX_TEST_VARIABLE"] = L"set \u00E4";
    }
    void WriteLogLine(const wchar_t* text, std::size_t length) override
    {
        log += qpr::ToUtf8({text, length}) + "|";
        lineCame.Signal();
    }
    void OnCompleted(std::uint32_t exitCode) override { end += "completed " + std::to_string(exitCode) + ";"; }
    void OnCancelled() override { end += "cancelled;"; }
    void OnError(const std::exception& error) override { end += std::string("error: ") + error.what() + ";"; }

    std::string log;
    std::string end;
    qpr::ThreadEvent lineCame{qpr::ThreadEvent::Kind_ManualReset};

private:
    const std::wstring m_path;
    const std::vector<std::wstring> m_arguments;
};

} // namespace test
