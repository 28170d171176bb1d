#include "runtime/Cancellation.h"

#include "runtime/Errors.h"
#include "runtime/FunctionRunnable.h"

#include <gtest/gtest.h>

namespace
{

using namespace qpr;

constexpr std::uint32_t patienceMs = 60000;

/// How the thread of a call and one that the application made learn of the cancel.
std::string OutcomeOfWait(Cancellation* cancellation, const WaitObject& object)
{
    try
    {
        Cancellation::WaitForObject(cancellation, object, L"test");
        return "signalled";
    }
    catch (const InterruptException&)
    {
        return "interrupted";
    }
    catch (const RuntimeError& error)
    {
        return error.what();
    }
}

TEST(CancellationTest, CancelWinsOverAnObjectThatIsSignalled)
{
    Cancellation cancellation;
    ThreadEvent event(ThreadEvent::Kind_AutoReset);
    event.Signal();
    EXPECT_EQ("signalled", OutcomeOfWait(&cancellation, event.Object()));
    event.Signal();
    cancellation.Cancel();
    EXPECT_EQ("Call cancelled", OutcomeOfWait(&cancellation, event.Object()));
    EXPECT_EQ("signalled", OutcomeOfWait(nullptr, event.Object())) << "the cancelled wait has taken the signal";
    cancellation.AdoptCurrentThread();
    EXPECT_EQ("interrupted", OutcomeOfWait(&cancellation, event.Object()));
    EXPECT_TRUE(cancellation.IsCancelled());
}

TEST(CancellationTest, CancelEndsTheWaitsOfAllThreads)
{
    Cancellation cancellation;
    ThreadEvent never(ThreadEvent::Kind_AutoReset);
    ThreadEvent started(ThreadEvent::Kind_AutoReset);
    std::string outcomes[2];
    test::FunctionRunnable own(
        [&]
        {
            cancellation.AdoptCurrentThread();
            started.Signal();
            outcomes[0] = OutcomeOfWait(&cancellation, never.Object());
        });
    test::FunctionRunnable other(
        [&]
        {
            started.Signal();
            outcomes[1] = OutcomeOfWait(&cancellation, never.Object());
        });
    Thread ownThread(own);
    started.Wait(patienceMs);
    Thread otherThread(other);
    started.Wait(patienceMs);
    cancellation.Cancel();
    ownThread.WaitForCompletion(patienceMs);
    otherThread.WaitForCompletion(patienceMs);
    EXPECT_EQ("interrupted", outcomes[0]);
    EXPECT_EQ("Call cancelled", outcomes[1]);
}

} // namespace
