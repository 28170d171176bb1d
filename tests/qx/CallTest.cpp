#include "ToolFixture.h"

#include "runtime/text/Utf8.h"

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

TEST_F(CallTest, FailsWithItsServantAndBeginsALine)
{
    const std::string error =
        "qx: servant '" + qpr::ToUtf8(test::ProgramPath(L"qx-test-servant")) + "' ended with exit code 3\n";
    EXPECT_EQ(Run({L"call", L"Fail"}), (ProgramEnd{1, "data\n", "no luck\x1b[2J\n" + error}));
    EXPECT_EQ(Run({L"call", L"--log", directory.PathOf("log"), L"Fail"}), (ProgramEnd{1, "data\n", error}));

    const std::wstring input = directory.Write("in", "");
    const ProgramEnd batch = Run({L"batch", L"--service", L"Fail", L"--output-dir", directory.PathOf("out"), input});
    EXPECT_EQ(batch.exitCode, 1u);
    EXPECT_EQ(
        batch.errors.find("qx: " + qpr::ToUtf8(input) + ": " + error.substr(4) + "no luck\\x1B[2J\n0 done, 1 failed"),
        0u)
        << batch;
    EXPECT_FALSE(std::filesystem::exists(directory.Path() / "out" / "in.out"));
}

TEST_F(CallTest, SaysObjectAndRemedyAndTheRestWhenAsked)
{
    const std::string file = qpr::ToUtf8(configuration);
    const struct
    {
        std::vector<std::wstring> call;
        std::string error;
    } cases[] = {
        {{L"Unknown"}, "Service 'Unknown' not available on local computer"},
        {{L"eco"}, "Service 'eco' not available on local computer; did you mean 'Echo'?"},
        {{L"Log", L"--connector", L"<LocalServiceConector/>"},
            "Invalid service connector name 'LocalServiceConector'; did you mean 'LocalServiceConnector'?"},
        {{L"Log", L"--connector", L"<LocalServiceConnector maxlocalservants='1'/>"},
            "Invalid attribute 'maxlocalservants' in <LocalServiceConnector> element; did you mean "
            "'MaxLocalServants'?"},
        {{L"Log", L"--connector", L"<LocalServiceConnector"},
            "service connector configuration: unclosed token, line 1, column 0"},
        {{L"Sized", L"sise=1"}, "service 'Sized' needs the attribute 'Size' (you gave 'sise')"},
        {{L"Log", L"--connector", L"<NetworkServiceConnector/>"},
            "no distributor at 127.0.0.1:1; start qx-distributor there, or name another in the element Distributor of '"
                + file + "'"},
    };
    for (const auto& row : cases)
    {
        std::vector<std::wstring> arguments = {L"call", L"--config", configuration};
        arguments.insert(arguments.end(), row.call.begin(), row.call.end());
        EXPECT_EQ(RunBare(arguments), (ProgramEnd{1, "", "qx: " + row.error + "\n"}));
    }
    const std::string missing = qpr::ToUtf8(directory.PathOf("missing"));
    const ProgramEnd end = Run({L"call", L"--verbose", L"Missing"});
    EXPECT_EQ(end.exitCode, 1u);
    EXPECT_EQ(end.errors.find("qx: cannot start servant '" + missing + "': "), 0u) << end;
    EXPECT_NE(end.errors.find("; '" + file + "' names it in RelativePath\n"), std::string::npos) << end;
    EXPECT_NE(
        end.errors.find("\nqx: in the library's words: CreateProcess('" + missing + "') failed"), std::string::npos)
        << end;
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
    EXPECT_NE(end.errors.find("qx: cannot write standard output: "), std::string::npos) << end;
}
