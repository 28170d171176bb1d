#include "ToolFixture.h"

#include "runtime/Utf8.h"

#include <fstream>

using test::ProgramEnd;

class CallTest : public test::ToolFixture
{
};

TEST_F(CallTest, PassesDataBothWaysUnchanged)
{
    std::string data;
    for (int i = 0; i < 3000000; ++i)
        data += static_cast<char>(i * 7 + i / 251);
    const ProgramEnd end = Run({L"call", L"Echo", L"Key=Value"}, data);
    EXPECT_EQ(end.exitCode, 0u);
    EXPECT_TRUE(end.output == data);
    EXPECT_EQ(end.errors, "");
}

TEST_F(CallTest, EndsWithTheServantsOutput)
{
    EXPECT_EQ(Run({L"call", L"AnswerFirst"}, "something"), (ProgramEnd{0, "first\nlast\n", ""}));
    // It reads one line; more than pipes hold stays untaken, which is no error.
    EXPECT_EQ(Run({L"call", L"FirstLine"}, "one\n" + std::string(5000000, 'x')), (ProgramEnd{0, "one\n", ""}));
}

TEST_F(CallTest, GivesTheLogToTheErrorStreamOrAFile)
{
    EXPECT_EQ(Run({L"call", L"Log"}), (ProgramEnd{0, "", "gr\xc3\xbc\xc3\x9f dich\n"}));

    const std::wstring log = directory.Write("log", "what was there before, and longer");
    EXPECT_EQ(Run({L"call", L"--log", log, L"Log"}), (ProgramEnd{0, "", ""}));
    std::ifstream file(directory.Path() / "log", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "gr\xc3\xbc\xc3\x9f dich\n");
}

TEST_F(CallTest, FailsInTheLibrarysWords)
{
    EXPECT_EQ(
        Run({L"call", L"Unknown"}), (ProgramEnd{1, "", "qx: Service 'Unknown' not available on local computer\n"}));
    const ProgramEnd missing = Run({L"call", L"Missing"});
    EXPECT_EQ(missing.exitCode, 1u);
    EXPECT_EQ(missing.errors.find("qx: CreateProcess('" + qpr::ToUtf8(directory.PathOf("missing")) + "') failed"), 0u)
        << missing;
}

TEST_F(CallTest, CancelsACallThatTakesTooLong)
{
    const ProgramEnd end = Run({L"call", L"--timeout", L"0.25", L"Hang"});
    EXPECT_EQ(end.exitCode, 1u);
    EXPECT_NE(end.errors.find("qx: call timed out after 0.25 s\n"), std::string::npos) << end;
}

TEST_F(CallTest, FailsWhenNobodyTakesItsOutput)
{
    test::RunningProgram program(Start({L"call", L"Echo"}, std::string(5000000, 'x')));
    program.CloseOutput();
    const ProgramEnd end = program.WaitForEnd();
    EXPECT_EQ(end.exitCode, 1u);
    EXPECT_NE(end.errors.find("qx: WriteFile"), std::string::npos) << end;
}
