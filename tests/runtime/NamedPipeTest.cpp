#include "runtime/NamedPipe.h"

#include "runtime/Cancellation.h"
#include "runtime/Errors.h"
#include "runtime/Thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace
{

using qpr::PipePair;

/// Takes data until the writer is gone.
std::string ReadAll(qpr::IReader& reader, std::size_t pieceSize)
{
    std::string data;
    std::vector<char> piece(pieceSize);
    while (const std::size_t count = reader.Read(piece.data(), piece.size()))
        data.append(piece.data(), count);
    return data;
}

/// Fills the pipe until a write would block, so that the next one does.
void FillUp(const PipePair& pipe)
{
    qpr::IOWriter writer(pipe.client.Handle());
    const std::string piece(4096, 'f');
    const qpr::WaitObject room(pipe.client.Handle(), qpr::WaitObject::Kind_Writable);
    while (qpr::Thread::WaitForObject(room, L"FillUp", 0, true))
        writer.Write(piece.data(), piece.size());
}

class BlockedOperation : public qpr::IRunnable
{
public:
    explicit BlockedOperation(std::function<void()> body)
        : m_body(std::move(body))
    {
    }

    void Run() override
    {
        try
        {
            m_body();
        }
        catch (const qpr::InterruptException&)
        {
            wasInterrupted = true;
            throw;
        }
    }
    void HandleError(const std::exception& exception) override { error = qpr::ErrorText(exception); }

    std::atomic<bool> wasInterrupted = false;
    std::wstring error;

private:
    std::function<void()> m_body;
};

std::wstring ErrorOf(const std::function<void()>& operation)
{
    try
    {
        operation();
    }
    catch (const std::exception& error)
    {
        return qpr::ErrorText(error);
    }
    return L"no error";
}

} // namespace

TEST(NamedPipe, CarriesMoreThanItHoldsWholeAndInOrder)
{
    PipePair pipe(true, true);
    std::string sent;
    for (int i = 0; sent.size() < 1000000; ++i)
        sent += std::to_string(i) + ' ';
    std::thread sender(
        [&]
        {
            qpr::IOWriter(pipe.client.Handle()).Write(sent.data(), sent.size());
            pipe.client.Close();
        });
    qpr::PipeReader reader(pipe.server.Handle());
    EXPECT_EQ(ReadAll(reader, 7777), sent);
    sender.join();
}

TEST(NamedPipe, TellsPendingInputAndTheEndOfTheData)
{
    PipePair pipe(true, false);
    qpr::PipeReader reader(pipe.server.Handle());
    EXPECT_FALSE(reader.InputPending());
    qpr::IOWriter(pipe.client.Handle()).Write("x", 1);
    EXPECT_TRUE(reader.InputPending());
    pipe.client.Close();
    EXPECT_EQ(ReadAll(reader, 10), "x");
    EXPECT_TRUE(reader.InputPending());
    char byte;
    EXPECT_EQ(reader.Read(&byte, 1), 0U);
}

TEST(NamedPipe, InterruptsABlockedWriterAndABlockedReader)
{
    PipePair full(true, true);
    FillUp(full);
    PipePair empty(true, true);
    BlockedOperation write([&] { qpr::IOWriter(full.client.Handle()).Write("abc", 3); });
    BlockedOperation read(
        [&]
        {
            char byte;
            qpr::PipeReader(empty.server.Handle()).Read(&byte, 1);
        });
    for (BlockedOperation* operation : {&write, &read})
    {
        qpr::Thread thread(*operation);
        thread.Interrupt();
        thread.WaitForCompletion(30000);
        EXPECT_TRUE(operation->wasInterrupted);
    }
}

TEST(NamedPipe, CancelEndsBlockedOperationsOnAnyThread)
{
    PipePair full(true, true);
    FillUp(full);
    PipePair empty(true, true);
    qpr::Cancellation cancellation;
    BlockedOperation write([&] { qpr::IOWriter(full.client.Handle(), &cancellation).Write("abc", 3); });
    BlockedOperation read(
        [&]
        {
            cancellation.AdoptCurrentThread();
            char byte;
            qpr::PipeReader(empty.server.Handle(), &cancellation).Read(&byte, 1);
        });
    {
        qpr::Thread writer(write);
        qpr::Thread reader(read);
        cancellation.Cancel();
        writer.WaitForCompletion(30000);
        reader.WaitForCompletion(30000);
    }
    EXPECT_EQ(write.error, L"Call cancelled");
    EXPECT_TRUE(read.wasInterrupted);
}

TEST(NamedPipe, FailsAtOnceAfterACancelEvenWithDataAndRoom)
{
    PipePair pipe(true, true);
    qpr::Cancellation cancellation;
    qpr::IOWriter writer(pipe.client.Handle(), &cancellation);
    qpr::PipeReader reader(pipe.server.Handle(), &cancellation);
    writer.Write("abc", 3);
    cancellation.Cancel();
    char byte;
    EXPECT_EQ(ErrorOf([&] { writer.Write("d", 1); }), L"Call cancelled");
    EXPECT_EQ(ErrorOf([&] { reader.Read(&byte, 1); }), L"Call cancelled");
}
