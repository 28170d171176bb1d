#include "client/ProcessCall.h"

#include "client/RecordingProcessRequest.h"
#include "runtime/processes/CurrentProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace
{

using test::RecordingProcessRequest;

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

QxClient::ProcessCall& Start(RecordingProcessRequest& request)
{
    auto* call = new QxClient::ProcessCall(request);
    call->AddRef();
    return *call;
}

TEST(ProcessCall, PassesOnLinesAndExitCode)
{
    RecordingProcessRequest request({L"--child", L"TwoLines", L"one 'word' \"here\""});
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
        RecordingProcessRequest request({L"--child", L"Sleeper"});
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
    RecordingProcessRequest missing({}, L"/no/such/program");
    auto& call = Start(missing);
    call.Wait();
    call.Release();
    EXPECT_EQ(missing.end.find("error: CreateProcess('/no/such/program') failed"), 0u) << missing.end;
    RecordingProcessRequest empty({}, L"");
    EXPECT_THROW(QxClient::ProcessCall{empty}, std::runtime_error);
}

} // namespace
