#include "ToolFixture.h"

using test::ProgramEnd;

class CommandLineTest : public test::ToolFixture
{
};

TEST_F(CommandLineTest, SaysWhatIsWrongWithIt)
{
    const struct
    {
        std::vector<std::wstring> arguments;
        const char* error;
    } cases[] = {
        {{}, "a command is required; 'qx --help' lists them"},
        {{L"nonsense"}, "there is no command 'nonsense'"},
        {{L"help", L"cal"}, "there is no command 'cal'; did you mean 'call'?"},
        {{L"call"}, "SERVICE is required"},
        {{L"call", L"--nonsense", L"Echo"}, "there is no option '--nonsense'"},
        {{L"call", L"--conector=x", L"Echo"}, "there is no option '--conector'; did you mean '--connector'?"},
        {{L"call", L"Echo", L"novalue"}, "'novalue' is not KEY=VALUE"},
        {{L"call", L"Echo", L"=value"}, "'=value' is not KEY=VALUE"},
        {{L"call", L"--timeout", L"0", L"Echo"}, "--timeout must be between 0.001 and 4000000 seconds"},
        {{L"batch", L"a"}, "--service is required"},
        {{L"batch", L"--service", L"Echo", L"--resume", L"a"}, "--resume needs --joblog"},
        {{L"batch", L"--service", L"Echo", L"x/a", L"y/a"}, "'x/a' and 'y/a' would have the same output"},
        {{L"batch", L"--service", L"Echo", L"--suffix", L"", L"a"}, "the output of 'a' would replace an input"},
        {{L"batch", L"--service", L"Echo", L".."}, "'..' is not a file"},
        {{L"top", L"--json"}, "--json needs --once"},
        {{L"top"}, "not on a terminal; --once prints the table"},
    };
    for (const auto& testCase : cases)
        EXPECT_EQ(RunBare(testCase.arguments), (ProgramEnd{2, "", "qx: " + std::string(testCase.error) + "\n"}));
}

TEST_F(CommandLineTest, EndsOptionsAtTwoDashes)
{
    EXPECT_EQ(Run({L"call", L"--", L"Echo", L"-key=value"}, "x"), (ProgramEnd{0, "x", ""}));
    EXPECT_EQ(Run({L"call", L"Echo", L"a=b", L"--", L"-c=d", L"--help=e"}, "x"), (ProgramEnd{0, "x", ""}));
}

TEST_F(CommandLineTest, TellsItsVersion)
{
    const ProgramEnd end = RunBare({L"--version"});
    EXPECT_EQ(end.exitCode, 0u);
    EXPECT_EQ(end.output.substr(0, 12), "qx 15.1.1.1\n");
}

TEST_F(CommandLineTest, HelpsWithAnExample)
{
    for (const wchar_t* command : {L"call", L"batch", L"check", L"services", L"top"})
    {
        const ProgramEnd end = RunBare({command, L"--help"});
        EXPECT_EQ(end.exitCode, 0u);
        EXPECT_NE(end.output.find("\nExample:\n"), std::string::npos) << end.output;
        EXPECT_EQ(RunBare({L"help", command}), end);
    }
}
