#include "client/ProcessCall.h"

#include "client/RecordingProcessRequest.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <unistd.h>

namespace
{

const test::ChildRegistration leavesAChildBehind("LeavesAChildBehind",
    [](const std::vector<std::string>&)
    {
        int alive[2];
        if (pipe(alive) == 0 && fork() == 0)
        {
            close(alive[1]);
            char byte;
            std::puts(read(alive[0], &byte, 1) == 0 ? "alone" : "failed"); // once the parent has ended
            std::fflush(stdout);
            for (;;)
                pause();
        }
        std::puts("leaving");
        return 3;
    });

} // namespace

TEST(ProcessCall, HearsAChildThatWasLeftBehindAndEndsIt)
{
    test::RecordingProcessRequest request({L"--child", L"LeavesAChildBehind"});
    auto* call = new QxClient::ProcessCall(request);
    call->AddRef();
    call->Wait();
    EXPECT_EQ(request.log, "leaving|alone|");
    EXPECT_EQ(request.end, "completed 3;");
    call->Release();
}
