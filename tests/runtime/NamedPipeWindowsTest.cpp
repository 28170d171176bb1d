#include "runtime/NamedPipe.h"

#include "runtime/ThreadEvent.h"
#include "support/ErrorOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using qpr::PipePair;
using test::ErrorOf;

TEST(NamedPipeWindows, ReportsABrokenPipe)
{
    PipePair pipe(true, true);
    pipe.server.Close();
    EXPECT_THAT(ErrorOf([&] { qpr::IOWriter(pipe.client.Handle()).Write("abc", 3); }),
        testing::StartsWith(
            "WriteFile/GetOverlappedResult() failed in qpr::IOWriter::Write.65, error number = 0xe8: "));
}

TEST(NamedPipeWindows, ReportsWhatIsNoPipe)
{
    const qpr::ThreadEvent event(qpr::ThreadEvent::Kind_AutoReset);
    qpr::PipeReader reader(event.Object().Handle());
    EXPECT_THAT(ErrorOf([&] { reader.InputPending(); }),
        testing::StartsWith("PeekNamedPipe() failed in qpr::PipeReader::InputPending.265, error number = 0x"));
    qpr::PipeEnd closed;
    EXPECT_THAT(ErrorOf([&] { closed.Close(); }), testing::StartsWith("CloseHandle() failed in qpr::PipeEnd::Close."));
}
