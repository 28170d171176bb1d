// What the runtime's waits cost beside the bare system calls (Linux: eventfd and poll) and std::thread. The runtime's
// side runs on threads of its own, so that every wait is an interruptible one.

#include "bench/Report.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/ThreadEvent.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{

using bench::Reach;

constexpr int roundCount = 801; // short ones: then what else runs on the computer disturbs both sides alike

class FunctionRunnable : public qpr::IRunnable
{
public:
    explicit FunctionRunnable(std::function<void()> body)
        : m_body(std::move(body))
    {
    }
    void Run() override { m_body(); }
    void HandleError(const std::exception& error) override { std::fprintf(stderr, "%s\n", error.what()); }

private:
    std::function<void()> m_body;
};

/// The least that an event can be: signal, and wait that takes the signal.
class BareEvent
{
public:
    BareEvent()
        : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }
    ~BareEvent() { close(m_descriptor); }

    void Signal()
    {
        const std::uint64_t one = 1;
        if (write(m_descriptor, &one, sizeof one) != sizeof one)
            std::abort();
    }

    void Wait()
    {
        pollfd entry{m_descriptor, POLLIN, 0};
        std::uint64_t count = 0;
        if (poll(&entry, 1, -1) != 1 || read(m_descriptor, &count, sizeof count) != sizeof count)
            std::abort();
    }

private:
    int m_descriptor;
};

struct AutoResetEvent : qpr::ThreadEvent
{
    AutoResetEvent()
        : ThreadEvent(Kind_AutoReset)
    {
    }
};

double NanosecondsEach(int count, const std::function<void()>& run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / count;
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The medians of both sides' times per operation, measured in turns.
std::pair<double, double> MeasureInTurns(
    int count, const std::function<void()>& ours, const std::function<void()>& peer)
{
    std::vector<double> oursNs;
    std::vector<double> peerNs;
    for (int round = 0; round < roundCount; ++round)
    {
        oursNs.push_back(NanosecondsEach(count, ours));
        peerNs.push_back(NanosecondsEach(count, peer));
    }
    return {Median(oursNs), Median(peerNs)};
}

bool CompareSetEvent()
{
    constexpr int count = 1000;
    AutoResetEvent autoReset;
    qpr::ThreadEvent manualReset(qpr::ThreadEvent::Kind_ManualReset);
    BareEvent bare;
    const auto runBare = [&]
    {
        for (int i = 0; i < count; ++i)
        {
            bare.Signal();
            bare.Wait();
        }
    };
    const auto [autoNs, bareNs] = MeasureInTurns(
        count,
        [&]
        {
            for (int i = 0; i < count; ++i)
            {
                autoReset.Signal();
                autoReset.Wait();
            }
        },
        runBare);
    const auto [manualNs, bareAgainNs] = MeasureInTurns(
        count,
        [&]
        {
            for (int i = 0; i < count; ++i)
            {
                manualReset.Signal();
                manualReset.Wait();
                manualReset.Clear();
            }
        },
        runBare);
    const bool autoOk =
        bench::Compare("signal and wait, auto-reset", autoNs, "eventfd and poll", bareNs, "ns", Reach::AtMost, 1.3);
    return bench::Compare("signal, wait and clear, manual-reset", manualNs, "eventfd and poll", bareAgainNs, "ns",
               Reach::AtMost, 1.3)
        && autoOk;
}

/// The other side of a hand-off: answers every signal until told to stop.
template <class Event>
class Answerer
{
public:
    void Answer(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            m_ask.Wait();
            m_answer.Signal();
        }
    }

    void Ask(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            m_ask.Signal();
            m_answer.Wait();
        }
    }

private:
    Event m_ask;
    Event m_answer;
};

bool CompareHandOff()
{
    constexpr int count = 100;
    Answerer<AutoResetEvent> ours;
    Answerer<BareEvent> bare;
    FunctionRunnable answerOurs([&] { ours.Answer(count * roundCount); });
    FunctionRunnable answerBare([&] { bare.Answer(count * roundCount); });
    qpr::Thread oursThread(answerOurs);
    qpr::Thread bareThread(answerBare);
    const auto [oursNs, bareNs] = MeasureInTurns(
        count, [&] { ours.Ask(count); }, [&] { bare.Ask(count); });
    oursThread.WaitForCompletion();
    bareThread.WaitForCompletion();
    return bench::Compare(
        "hand-off there and back, one processor", oursNs, "eventfd and poll", bareNs, "ns", Reach::AtMost, 1.3);
}

bool CompareInterruptCheck()
{
    constexpr int count = 10000;
    const auto check = []
    {
        for (int i = 0; i < count; ++i)
            qpr::Thread::CheckInterrupt();
    };
    std::vector<double> times;
    for (int round = 0; round < roundCount; ++round)
        times.push_back(NanosecondsEach(count, check));
    return bench::Compare("interruption check", Median(times), "limit", 10, "ns", Reach::AtMost, 1);
}

/// Starts a thread that does nothing and joins it in either way.
template <class Join>
void StartThread(qpr::IRunnable& nothing, Join join)
{
    qpr::Thread thread(nothing);
    join(thread);
}

void StartStandardThread(qpr::IRunnable& nothing)
{
    std::thread thread([&] { nothing.Run(); });
    thread.join();
}

/// What it takes by hand to wait for a thread's end so that something else can end the wait.
void StartStandardThreadAndPoll(qpr::IRunnable& nothing)
{
    BareEvent end;
    std::thread thread(
        [&]
        {
            nothing.Run();
            end.Signal();
        });
    end.Wait();
    thread.join();
}

template <class Join>
bool CompareThreadStart(const char* what, Join join, const char* peerName, void (*startPeer)(qpr::IRunnable&))
{
    constexpr int count = 10;
    FunctionRunnable nothing([] {});
    const auto [oursNs, peerNs] = MeasureInTurns(
        count,
        [&]
        {
            for (int i = 0; i < count; ++i)
                StartThread(nothing, join);
        },
        [&]
        {
            for (int i = 0; i < count; ++i)
                startPeer(nothing);
        });
    return bench::Compare(what, oursNs, peerName, peerNs, "ns", Reach::AtMost, 1.15);
}

void StayOnOneProcessor()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof one, &one);
}

} // namespace

int main()
{
    const auto wait = [](qpr::Thread& thread) { thread.WaitForCompletion(); };
    const auto leaveToDestructor = [](qpr::Thread&) {};
    bool ok = CompareThreadStart("thread start and join", wait, "std::thread", StartStandardThread);
    FunctionRunnable benchmarks(
        [&]
        {
            ok = CompareThreadStart(
                     "thread start and join by the destructor", leaveToDestructor, "std::thread", StartStandardThread)
                && ok;
            ok = CompareThreadStart("thread start and interruptible join", wait, "std::thread with eventfd",
                     StartStandardThreadAndPoll)
                && ok;
            ok = CompareSetEvent() && ok;
            ok = CompareInterruptCheck() && ok;
            StayOnOneProcessor();
            ok = CompareHandOff() && ok;
        });
    {
        qpr::Thread thread(benchmarks);
        thread.WaitForCompletion();
    }
    return ok ? 0 : 1;
}
