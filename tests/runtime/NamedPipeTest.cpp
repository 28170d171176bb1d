#include "runtime/channels/NamedPipe.h"

#include "runtime/FunctionRunnable.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/Thread.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace
{

using qpr::PipePair;
using test::ErrorOf;
using test::FunctionRunnable;

/// More than a pipe takes while nobody reads.
const std::string tooMuch(1 << 20, 'x');

} // namespace

TEST(NamedPipe, TellsPendingInputAndTheEndOfTheData)
{
    PipePair pipe = qpr::PipePair::FromChild();
    qpr::PipeReader reader(pipe.server.Handle());
    EXPECT_FALSE(reader.InputPending());
    std::thread sender( // a pipe need not hold anything: the write may last until the read
        [&]
        {
            qpr::IOWriter(pipe.client.Handle()).Write("x", 1);
            pipe.client.Close();
        });
    while (!reader.InputPending())
        std::this_thread::yield();
    char byte = 0;
    EXPECT_EQ(reader.Read(&byte, 1), 1U);
    EXPECT_EQ(byte, 'x');
    sender.join();
    EXPECT_TRUE(reader.InputPending());
    EXPECT_EQ(reader.Read(&byte, 1), 0U);
}

TEST(NamedPipe, AnInterruptAndACancelEndABlockedWriterAndABlockedReader)
{
    PipePair full(PipePair::End::Ours, PipePair::End::Ours);
    PipePair empty(PipePair::End::Ours, PipePair::End::Ours);
    qpr::Cancellation cancellation;
    qpr::IOWriter writer(full.client.Handle(), cancellation);
    qpr::PipeReader reader(empty.server.Handle(), cancellation);
    FunctionRunnable write([&] { writer.Write(tooMuch.data(), tooMuch.size()); });
    FunctionRunnable read(
        [&]
        {
            char byte;
            reader.Read(&byte, 1);
        });
    for (FunctionRunnable* operation : {&write, &read})
    {
        const qpr::Thread interrupted(*operation);
    }
    EXPECT_EQ(write.Outcome(), "interrupted");
    EXPECT_EQ(read.Outcome(), "interrupted");
    {
        qpr::Thread writing(write);
        qpr::Thread reading(read);
        cancellation.Cancel();
        writing.WaitForCompletion(30000);
        reading.WaitForCompletion(30000);
    }
    EXPECT_EQ(write.Outcome(), "Call cancelled");
    EXPECT_EQ(read.Outcome(), "Call cancelled");
}

TEST(NamedPipe, FailsAtOnceAfterACancelEvenWithDataAndRoom)
{
    PipePair pipe(PipePair::End::Ours, PipePair::End::Ours);
    qpr::Cancellation cancellation;
    qpr::IOWriter writer(pipe.client.Handle(), cancellation);
    qpr::PipeReader reader(pipe.server.Handle(), cancellation);
    std::thread sender([&] { qpr::IOWriter(pipe.client.Handle()).Write("abc", 3); });
    while (!reader.InputPending())
        std::this_thread::yield();
    cancellation.Cancel();
    char bytes[3];
    EXPECT_EQ(ErrorOf([&] { writer.Write("d", 1); }), "Call cancelled");
    EXPECT_EQ(ErrorOf([&] { reader.Read(bytes, 1); }), "Call cancelled");
    EXPECT_EQ(ErrorOf([&] { reader.InputPending(); }), "Call cancelled");
    cancellation.AdoptCurrentThread(); // it learns of its own call's end as of an interrupt
    EXPECT_THROW(reader.Read(bytes, 1), qpr::InterruptException);
    EXPECT_EQ(qpr::PipeReader(pipe.server.Handle()).Read(bytes, sizeof bytes), 3U);
    sender.join();
}
