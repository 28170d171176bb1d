// What a service connection over pipes carries beside bare loops over a pipe of default size, the best of several piece
// sizes. Both ends of the connection are ours, on threads that can be interrupted, and its call can be cancelled.
// Argument: MiB a transfer (1024).

#include "bench/Report.h"
#include "protocol/GenericServiceConnection.h"
#include "runtime/channels/NamedPipe.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <sched.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using bench::Reach;

constexpr std::size_t KiB = 1024;
constexpr std::size_t MiB = 1024 * KiB;
constexpr int repetitions = 16; // short ones in turn: then what else runs on the computer disturbs all alike
constexpr std::size_t obviousPiece = 64 * KiB;
const std::vector<std::size_t> pieceSizes = {
    1 * KiB, 4 * KiB, 16 * KiB, 32 * KiB, 64 * KiB, 128 * KiB, 256 * KiB, 1 * MiB};

/// One end of a two-way channel.
class IEnd
{
public:
    virtual ~IEnd() = default;
    virtual void Write(const char* data, std::size_t size) = 0;
    virtual void Flush() = 0;
    virtual void ReadAll(char* data, std::size_t size) = 0; ///< the whole size
    virtual std::size_t ReadSome(char* data, std::size_t size) = 0; ///< 0: the end
    virtual void RunOnThread(std::function<void()> body, std::vector<std::shared_ptr<void>>& threads) = 0;
};

class BareEnd : public IEnd
{
public:
    BareEnd(qpr::NativeHandle input, qpr::NativeHandle output)
        : m_input(static_cast<int>(input.Value()))
        , m_output(static_cast<int>(output.Value()))
    {
    }

    void Write(const char* data, std::size_t size) override
    {
        if (write(m_output, data, size) != static_cast<ssize_t>(size))
            std::abort();
    }
    void Flush() override { }
    void ReadAll(char* data, std::size_t size) override
    {
        for (std::size_t done = 0; done < size;)
            done += ReadSome(data + done, size - done);
    }
    std::size_t ReadSome(char* data, std::size_t size) override
    {
        const ssize_t count = read(m_input, data, size);
        if (count < 0)
            std::abort();
        return static_cast<std::size_t>(count);
    }
    void RunOnThread(std::function<void()> body, std::vector<std::shared_ptr<void>>& threads) override
    {
        threads.push_back(std::make_shared<std::jthread>(std::move(body)));
    }

private:
    int m_input;
    int m_output;
};

/// A thread that the runtime started.
class RuntimeThread : qpr::IRunnable
{
public:
    explicit RuntimeThread(std::function<void()> body)
        : m_body(std::move(body))
        , m_thread(*this)
    {
    }
    ~RuntimeThread() override { m_thread.WaitForCompletion(); }

private:
    void Run() override { m_body(); }
    void HandleError(const std::exception& error) override
    {
        std::fprintf(stderr, "%s\n", error.what());
        std::abort();
    }

    std::function<void()> m_body;
    qpr::Thread m_thread;
};

class ConnectionEnd : public IEnd
{
public:
    ConnectionEnd(qpr::NativeHandle input, qpr::NativeHandle output)
        : m_connection(std::make_unique<qpr::PipeReader>(input, m_cancellation),
            std::make_unique<qpr::IOWriter>(output, m_cancellation), {}, {[] {}, {}})
    {
    }

    void Write(const char* data, std::size_t size) override
    {
        m_connection.OutputStream().write(data, static_cast<std::streamsize>(size));
    }
    void Flush() override { m_connection.OutputStream().flush(); }
    void ReadAll(char* data, std::size_t size) override
    {
        m_connection.InputStream().read(data, static_cast<std::streamsize>(size));
    }
    std::size_t ReadSome(char* data, std::size_t size) override
    {
        m_connection.InputStream().read(data, static_cast<std::streamsize>(size));
        return static_cast<std::size_t>(m_connection.InputStream().gcount());
    }
    void RunOnThread(std::function<void()> body, std::vector<std::shared_ptr<void>>& threads) override
    {
        threads.push_back(std::make_shared<RuntimeThread>(std::move(body)));
    }

private:
    qpr::Cancellation m_cancellation;
    qxm::GenericServiceConnection<qpr::PipeReader, qpr::IOWriter> m_connection;
};

/// The far end is a servant's: a plain one.
template <class NearEnd>
class Channel
{
public:
    NearEnd& Near() { return m_near; }
    BareEnd& Far() { return m_far; }

private:
    using End = qpr::PipePair::End;
    static constexpr End nearEnd = std::is_same_v<NearEnd, ConnectionEnd> ? End::Ours : End::Child;

    qpr::PipePair m_toFar{End::Child, nearEnd};
    qpr::PipePair m_toNear{nearEnd, End::Child};
    NearEnd m_near{m_toNear.server.Handle(), m_toFar.client.Handle()};
    BareEnd m_far{m_toFar.server.Handle(), m_toNear.client.Handle()};
};

double SecondsOf(const std::function<void()>& run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

using Piece = std::vector<char>;

/// The rate that a quarter of the transfers reach: what else runs on the computer only slows them down.
double UpperQuartile(std::vector<double> rates)
{
    std::sort(rates.begin(), rates.end());
    return rates[rates.size() * 3 / 4];
}

void Send(IEnd& end, std::size_t total, const Piece& piece)
{
    for (std::size_t sent = 0; sent < total; sent += piece.size())
        end.Write(piece.data(), piece.size());
    end.Flush();
}

void Receive(IEnd& end, std::size_t total, Piece& piece)
{
    for (std::size_t received = 0; received < total;)
        received += end.ReadSome(piece.data(), std::min(piece.size(), total - received));
}

/// GiB/s of a transfer from one end to the other, or of half of it each way at the same time.
template <class NearEnd>
double Rate(std::size_t total, std::size_t pieceSize, std::size_t farPieceSize, bool bothWays)
{
    Channel<NearEnd> channel;
    const Piece nearSent(pieceSize, 'x'), farSent(farPieceSize, 'x');
    Piece nearReceived(pieceSize), farReceived(farPieceSize);
    const std::size_t each = bothWays ? total / 2 : total;
    const double seconds = SecondsOf(
        [&]
        {
            std::vector<std::shared_ptr<void>> threads;
            channel.Near().RunOnThread([&] { Send(channel.Near(), each, nearSent); }, threads);
            channel.Far().RunOnThread([&] { Receive(channel.Far(), each, farReceived); }, threads);
            if (!bothWays)
                return;
            channel.Far().RunOnThread([&] { Send(channel.Far(), each, farSent); }, threads);
            channel.Near().RunOnThread([&] { Receive(channel.Near(), each, nearReceived); }, threads);
        });
    return static_cast<double>(total) / (1024.0 * MiB) / seconds;
}

bool CompareTransfers(std::size_t total, bool bothWays)
{
    std::map<std::size_t, std::vector<double>> ours, bare;
    for (int i = 0; i < repetitions; ++i)
    {
        for (const std::size_t pieceSize : pieceSizes)
        {
            ours[pieceSize].push_back(Rate<ConnectionEnd>(total, pieceSize, obviousPiece, bothWays));
            bare[pieceSize].push_back(Rate<BareEnd>(total, pieceSize, pieceSize, bothWays));
        }
    }
    double best = 0;
    for (const auto& [pieceSize, rates] : bare)
    {
        std::printf("  bare loop of %zu KiB: %.3f GiB/s\n", pieceSize / KiB, UpperQuartile(rates));
        best = std::max(best, UpperQuartile(rates));
    }
    bool ok = true;
    for (const auto& [pieceSize, rates] : ours)
    {
        const std::string what =
            std::string(bothWays ? "both ways" : "one way") + ", writes of " + std::to_string(pieceSize / KiB) + " KiB";
        ok &= bench::Compare(
            what.c_str(), UpperQuartile(rates), "best bare loop", best, "GiB/s", Reach::AtLeast, bothWays ? 0.75 : 0.7);
    }
    return ok;
}

void PinToOneProcessor()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(sched_getcpu(), &set);
    sched_setaffinity(0, sizeof set, &set);
}

/// Microseconds of a round trip of 64 bytes; the far end echoes.
template <class NearEnd>
double RoundTrip()
{
    constexpr int count = 2000;
    Channel<NearEnd> channel;
    std::vector<std::shared_ptr<void>> threads;
    double seconds = 0;
    char sent[64] = {};
    channel.Far().RunOnThread(
        [&]
        {
            char message[sizeof sent];
            for (int i = 0; i < count; ++i)
            {
                channel.Far().ReadAll(message, sizeof message);
                channel.Far().Write(message, sizeof message);
                channel.Far().Flush();
            }
        },
        threads);
    channel.Near().RunOnThread(
        [&]
        {
            seconds = SecondsOf(
                [&]
                {
                    char received[sizeof sent];
                    for (int i = 0; i < count; ++i)
                    {
                        channel.Near().Write(sent, sizeof sent);
                        channel.Near().Flush();
                        channel.Near().ReadAll(received, sizeof received);
                    }
                });
        },
        threads);
    threads.clear();
    return seconds / count * 1e6;
}

bool CompareRoundTrips()
{
    std::vector<double> bare, ours;
    std::thread pinned(
        [&]
        {
            PinToOneProcessor(); // the threads started from here inherit it
            for (int i = 0; i < 101; ++i)
            {
                bare.push_back(RoundTrip<BareEnd>());
                ours.push_back(RoundTrip<ConnectionEnd>());
            }
        });
    pinned.join();
    return bench::Compare(
        "round trip of 64 bytes, one processor", Median(ours), "bare pipe", Median(bare), "us", Reach::AtMost, 1.4);
}

} // namespace

int main(int argc, char** argv)
{
    const std::size_t total = (argc > 1 ? std::stoul(argv[1]) : 1024) * MiB / repetitions;
    bool ok = CompareRoundTrips();
    ok &= CompareTransfers(total, false);
    ok &= CompareTransfers(total, true);
    return ok ? 0 : 1;
}
