#include "runtime/channels/NamedPipe.h"

#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/windows/Handle.h"
#include "support/ErrorOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cwchar>

using qpr::PipePair;
using test::ErrorOf;

namespace
{

std::wstring NameOf(const qpr::PipeEnd& end)
{
    alignas(FILE_NAME_INFO) char room[1024]{};
    EXPECT_TRUE(GetFileInformationByHandleEx(qpr::SystemHandleOf(end.Handle()), FileNameInfo, room, sizeof room));
    const auto& info = reinterpret_cast<const FILE_NAME_INFO&>(room);
    return std::wstring(info.FileName, info.FileNameLength / sizeof(wchar_t));
}

} // namespace

TEST(NamedPipeWindows, HasANameOfItsOwn)
{
    const PipePair pipes[] = {PipePair::FromChild(), PipePair::ToChild()};
    for (const PipePair& pipe : pipes)
    {
        wchar_t name[100];
        std::swprintf(name, 100, L"\\FerndelPipes.%lu.%lu.0x%016zX", GetCurrentProcessId(), GetCurrentThreadId(),
            reinterpret_cast<std::size_t>(&pipe));
        EXPECT_EQ(NameOf(pipe.server), name);
        EXPECT_EQ(NameOf(pipe.client), name);
    }
}

TEST(NamedPipeWindows, ReportsABrokenPipe)
{
    PipePair pipe(PipePair::End::Ours, PipePair::End::Ours);
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
