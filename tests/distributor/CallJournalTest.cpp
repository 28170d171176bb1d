#include "distributor/CallJournal.h"

#include "distributor/RunningDistributor.h"

#include <gtest/gtest.h>

namespace
{

/// An output that takes nothing before it is told to.
class StuckOutput final : public qpr::IWriter
{
public:
    void Write(const void* buffer, std::size_t size) override
    {
        isStuck.Signal();
        goOn.Wait();
        lines.Write(buffer, size);
    }
    void Flush() override { }

    qpr::ThreadEvent isStuck{qpr::ThreadEvent::Kind_AutoReset};
    qpr::ThreadEvent goOn{qpr::ThreadEvent::Kind_ManualReset};
    test::JournalLines lines;
};

TEST(CallJournalTest, AnOutputThatNobodyReadsHoldsNobodyUp)
{
    constexpr std::size_t kept = 1 + qxd::CallJournal::maxLinesKept;
    StuckOutput output;
    {
        qxd::CallJournal journal(output);
        journal.WriteLine(L"first");
        output.isStuck.Wait();
        for (std::size_t number = 1; number < kept + 5; ++number)
            journal.WriteLine(std::to_wstring(number));
        output.goOn.Signal();
        EXPECT_EQ(output.lines.WaitFor(kept).back(), "1000\n");
        journal.WriteLine(L"last"); // written before the journal is gone
    }
    EXPECT_EQ(output.lines.WaitFor(kept + 2)[kept], "5 lines lost\n");
    EXPECT_EQ(output.lines.WaitFor(kept + 2)[kept + 1], "last\n");

    StuckOutput forEver;
    qxd::CallJournal(forEver).WriteLine(L"lost");
}

} // namespace
