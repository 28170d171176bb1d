#include "runtime/channels/NamedPipe.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <csignal>

using qpr::PipePair;
using test::ErrorOf;

TEST(NamedPipePosix, ABrokenPipeIsAnErrorAndNoSignal)
{
    for (const bool isBlockedByTheApplication : {false, true})
    {
        sigset_t sigPipe, before, after;
        sigemptyset(&sigPipe);
        sigaddset(&sigPipe, SIGPIPE);
        pthread_sigmask(isBlockedByTheApplication ? SIG_BLOCK : SIG_UNBLOCK, &sigPipe, &before);
        PipePair pipe(PipePair::End::Ours, PipePair::End::Ours);
        pipe.server.Close();
        EXPECT_EQ(ErrorOf([&] { qpr::IOWriter(pipe.client.Handle()).Write("abc", 3); }),
            "WriteFile/GetOverlappedResult() failed in qpr::IOWriter::Write.65, error number = 0x20: Broken pipe");
        sigset_t pending;
        sigpending(&pending);
        EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
        pthread_sigmask(SIG_SETMASK, &before, &after);
        EXPECT_EQ(sigismember(&after, SIGPIPE), isBlockedByTheApplication ? 1 : 0);
    }
}

TEST(NamedPipePosix, ReportsOperationsOnAClosedEnd)
{
    PipePair pipe(PipePair::End::Ours, PipePair::End::Ours);
    qpr::PipeReader reader(pipe.server.Handle());
    pipe.server.Close();
    EXPECT_EQ(ErrorOf([&] { reader.InputPending(); }),
        "PeekNamedPipe() failed in qpr::PipeReader::InputPending.265, error number = 0x9: Bad file descriptor");
    EXPECT_TRUE(ErrorOf([&] { pipe.server.Close(); }).starts_with("CloseHandle() failed in qpr::PipeEnd::Close."));
}
