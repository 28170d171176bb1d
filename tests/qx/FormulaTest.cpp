#include "ToolFixture.h"

#include "expr/Evaluator.h"
#include "tools/qx/FormulaPointer.h"

using test::ProgramEnd;

class FormulaTest : public test::ToolFixture
{
};

TEST_F(FormulaTest, ExprPrintsADocument)
{
    EXPECT_EQ(RunJson({L"expr", L"A + B * 2", L"A=1", L"B=2"}),
        R"json({"canonical":"add(float A, mul(float B, 2))","type":"float","variables":{"A":"float","B":"float"},)json"
        R"json("value":5.0})json");
}

TEST_F(FormulaTest, ExprEvaluatesWhatItCan)
{
    const struct
    {
        std::vector<std::wstring> arguments;
        ProgramEnd end;
    } cases[] = {
        {{L"A > 1"}, {0, "read as   gt(float A, 1)\ntype      bool\nvariable  float A\n", ""}},
        {{L"--helpers", L"H = S == 'a'; I = 1;", L"I > 0", L"I=-1"},
            {0, "read as   gt(float I, 0)\ntype      bool\nvariable  string S\nvalue     false\n", ""}},
        {{L"--type", L"string", L"A", L"A=x y"},
            {0, "read as   string A\ntype      string\nvariable  string A\nvalue     'x y'\n", ""}},
        {{L"A + B", L"A=1"}, {1, "", "qx: the formula needs a value for 'B'\n"}},
        {{L"--helpers", L"A = 1", L"A"}, {1, "", "qx: Expected ; at end of helpers\n"}},
        {{L"A + 1", L"A=x"}, {1, "", "qx: Invalid A string 'x': value is not a float.\n"}},
        {{L"A + 1", L"B=1"}, {2, "", "qx: nothing uses the name 'B'\n"}},
    };
    for (const auto& testCase : cases)
    {
        std::vector<std::wstring> arguments = {L"expr"};
        arguments.insert(arguments.end(), testCase.arguments.begin(), testCase.arguments.end());
        EXPECT_EQ(RunBare(arguments), testCase.end);
    }
    EXPECT_EQ(RunBare({L"expr", L"--type", L"undefined", L"1"}).exitCode, 2u);
}

TEST_F(FormulaTest, UsageSupposesAComputer)
{
    configuration = directory.Write("usage.xml",
        "<QxConfiguration><Servants><Servant TargetPlatform='WinX64' RelativePath='none'><Services><Service Name='S'>"
        "<ExpectedProcessorUsage>ProcessorCount</ExpectedProcessorUsage>"
        "<ExpectedMemoryUsageInMB>Size * ProcessorCount</ExpectedMemoryUsageInMB></Service></Services></Servant>"
        "</Servants></QxConfiguration>");
    EXPECT_EQ(RunJson({L"usage", L"--config", configuration, L"--connector",
                  L"<LocalServiceConnector PhysicalMemoryUtilizationLimit='50%'/>", L"--processors", L"8",
                  L"--memory-mb", L"900", L"S", L"Size=100"}),
        R"({"service":"S","expectedProcessorUsage":4.0,"expectedMemoryUsageInMB":400.0,"numberOfProcessorsToUse":4,)"
        R"("addressSpaceExcessInMB":-8388208.0,"processorLimit":8.0,"memoryLimitInMB":450.0})");
    EXPECT_EQ(RunBare({L"usage", L"--config", configuration, L"T"}),
        (ProgramEnd{1, "", "qx: Service 'T' not available on local computer\n"}));
}

TEST(FormulaPointer, PutsACaretUnderTheErrorWithinTheTerminal)
{
    const struct
    {
        const wchar_t* formula;
        std::size_t columns;
        const char* shown;
    } cases[] = {
        {L"1 + ?", 80, "1 + ?\n    ^"},
        {L"1 +  ", 80, "1 +  \n   ^"},
        {L"", 80, "\n^"},
        {L"A +\n\t? + 1\n- 2", 80, " ? + 1\n ^"},
        {L"A +\nB +\n", 80, "B +\n   ^"},
        {L"1 + 2 + 3 + ? + 4 + 5 + 6", 12, " 3 + ? + 4 \n     ^"},
        {L"\u00E9", 80, "\xC3\xA9\n^"},
    };
    for (const auto& testCase : cases)
    {
        SCOPED_TRACE(testCase.shown);
        try
        {
            qexpr::Evaluator().ParseExpression(testCase.formula, L"formula", qexpr::Value::Type_Undefined);
            ADD_FAILURE();
        }
        catch (const qexpr::ParseError& error)
        {
            EXPECT_EQ(qx::PointAtError(error, testCase.columns), testCase.shown);
        }
    }
}
