#include "client/ProcessCall.h"

#include "runtime/Environment.h"
#include "runtime/ThreadEvent.h"
#include "runtime/Utf8.h"
#include "support/ChildMain.h"

#include <qxmi/IProcessRequestW.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace
{

const test::ChildRegistration twoLines("TwoLines",
    [](const std::vector<std::string>& arguments)
    {
        const std::string variable = qpr::ToUtf8(qpr::EnvironmentVariable(L"QX_TEST_VARIABLE").value_or(L"unset"));
        std::printf("%s\r\n%s\n", arguments.at(0).c_str(), variable.c_str());
        std::fflush(stdout);
        std::fputs(std::getchar() == EOF ? "no input" : "input", stderr);
        return 5;
    });

const test::ChildRegistration sleeper("Sleeper",
    [](const std::vector<std::string>&)
    {
        std::puts("asleep");
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::hours(1));
        return 0;
    });

class ProcessRequest final : public qxmi::IProcessRequestW
{
public:
    explicit ProcessRequest(std::vector<std::wstring> arguments, std::wstring path = qpr::FromUtf8(test::OwnPath()))
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

QxClient::ProcessCall& Start(ProcessRequest& request)
{
    auto* call = new QxClient::ProcessCall(request);
    call->AddRef();
    return *call;
}

TEST(ProcessCall, PassesOnLinesAndExitCode)
{
    ProcessRequest request({L"--child", L"TwoLines", L"one 'word' \"here\""});
    auto& call = Start(request);
    call.Wait();
    EXPECT_EQ(request.log, "one 'word' \"here\"|set \xC3\xA4|no input|");
    EXPECT_EQ(request.end, "completed 5;");
    call.Cancel(); // too late
    call.Release();
    EXPECT_EQ(request.end, "completed 5;");
}

TEST(ProcessCall, CancelAndReleaseEndTheProcess)
{
    for (const bool cancel : {true, false})
    {
        ProcessRequest request({L"--child", L"Sleeper"});
        auto& call = Start(request);
        request.lineCame.Wait();
        if (cancel)
        {
            call.Cancel();
            call.Wait();
        }
        call.Release();
        EXPECT_EQ(request.end, "cancelled;");
    }
}

TEST(ProcessCall, TellsWhatCannotBeStarted)
{
    ProcessRequest missing({}, L"/no/such/program");
    auto& call = Start(missing);
    call.Wait();
    call.Release();
    EXPECT_EQ(missing.end.find("error: CreateProcess('/no/such/program') failed"), 0u) << missing.end;
    ProcessRequest empty({}, L"");
    EXPECT_THROW(QxClient::ProcessCall{empty}, std::runtime_error);
}

} // namespace
