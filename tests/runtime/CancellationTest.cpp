#include "runtime/Cancellation.h"

#include "runtime/Errors.h"

#include <gtest/gtest.h>

namespace
{

using namespace qpr;

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

} // namespace
