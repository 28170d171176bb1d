#include "ToolFixture.h"

#include "support/ProcessControl.h"

using test::ProgramEnd;

class InterruptTest : public test::ToolFixture
{
protected:
    /// Interrupts the program once its servant runs.
    static ProgramEnd Interrupt(const test::ProgramStart& start, const std::string& runs = "hanging")
    {
        test::RunningProgram program(start);
        program.WaitForErrors(runs);
        test::InterruptProcess(program.ProcessId());
        return program.WaitForEnd();
    }
};

TEST_F(InterruptTest, CancelsTheCallFirst)
{
    const ProgramEnd end = Interrupt(Start({L"call", L"Hang"}));
    EXPECT_EQ(end.exitCode, 130u);
    EXPECT_TRUE(end.errors.ends_with("qx: interrupted\n")) << end;
}

TEST_F(InterruptTest, LeavesNoOutputOfAnInterruptedBatch)
{
    const std::wstring output = directory.PathOf("out");
    // The first file's call fails, which is told; the others run then.
    const ProgramEnd end = Interrupt(Start({L"batch", L"--service", L"Hang", L"--output-dir", output, L"missing",
                                         directory.Write("a", "a"), directory.Write("b", "b")}),
        "qx: missing: ");
    EXPECT_EQ(end.exitCode, 130u);
    EXPECT_NE(end.errors.find("\n0 done, 1 failed, 2 interrupted, "), std::string::npos) << end;
    EXPECT_TRUE(std::filesystem::is_empty(output));
}
