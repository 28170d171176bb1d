#pragma once

#include "config/TemporaryDirectory.h"
#include "support/ProgramRun.h"
#include "tools/qx/Json.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace test
{

/// Runs the tool with a configuration of the test servant's services. Its calls need so little that other tests and
/// programs on this computer do not keep them waiting.
class ToolFixture : public testing::Test
{
protected:
    ToolFixture()
    {
        // Servant paths are relative to the configuration; the test's directory is elsewhere, maybe far away.
        const auto servant = std::filesystem::relative(ProgramPath(L"qx-test-servant"), directory.Path());
        configuration = directory.Write("qx.xml",
            "<QxConfiguration><Distributor Host='127.0.0.1' ClientPort='1'/><Servants><Servant TargetPlatform='WinX64' "
            "RelativePath='"
                + servant.string()
                + "'><Services><Service Name='Echo'/><Service Name='AnswerFirst'/><Service Name='FirstLine'/>"
                  "<Service Name='Log'/><Service Name='Fail'/><Service Name='Hang'/><Service "
                  "Name='Sized'><ExpectedProcessorUsage>1"
                  "</ExpectedProcessorUsage><ExpectedMemoryUsageInMB>Size</ExpectedMemoryUsageInMB></Service>"
                  "</Services></Servant>"
                  "<Servant TargetPlatform='WinX64' RelativePath='missing'><Services><Service Name='Missing'/>"
                  "</Services></Servant></Servants></QxConfiguration>");
    }

    /// Without a configuration or a connector of its own.
    static ProgramEnd RunBare(const std::vector<std::wstring>& arguments, const std::string& input = {})
    {
        return RunProgram({L"qx", arguments, input, {{L"QX_CONFIGURATION", L""}}});
    }

    /// The one JSON document that a command prints, without its blanks.
    static std::string RunJson(std::vector<std::wstring> arguments)
    {
        arguments.insert(arguments.begin() + 1, L"--json");
        const ProgramEnd end = RunBare(arguments);
        EXPECT_EQ(end.exitCode, 0u) << end;
        EXPECT_EQ(end.errors, "");
        return qx::Json::parse(end.output).dump();
    }

    /// A command that makes calls.
    ProgramStart Start(std::vector<std::wstring> arguments, const std::string& input = {}) const
    {
        const std::vector<std::wstring> connector = {L"--config", configuration, L"--connector",
            L"<LocalServiceConnector MaxLocalServants='1000' ProcessorUtilizationLimit='500%'"
            L" PhysicalMemoryUtilizationLimit='500%'/>"};
        arguments.insert(arguments.begin() + 1, connector.begin(), connector.end());
        return {L"qx", arguments, input};
    }
    ProgramEnd Run(const std::vector<std::wstring>& arguments, const std::string& input = {}) const
    {
        return RunProgram(Start(arguments, input));
    }

    TemporaryDirectory directory;
    std::wstring configuration;
};

} // namespace test
