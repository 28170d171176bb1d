#include "ToolFixture.h"

#include "runtime/text/Utf8.h"

#include <fstream>
#include <set>
#include <sstream>
#include <thread>

using test::ProgramEnd;

class BatchTest : public test::ToolFixture
{
protected:
    std::string Content(const std::filesystem::path& path) const
    {
        std::ifstream file(directory.Path() / path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    std::set<std::string> FilesIn(const char* name) const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory.Path() / name))
            names.insert(entry.path().filename().string());
        return names;
    }

    std::vector<std::string> JobLines() const
    {
        std::istringstream log(Content("jobs"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);)
            lines.push_back(line);
        return lines;
    }

    std::wstring Output() const { return directory.PathOf("out"); }
    std::wstring JobLog() const { return directory.PathOf("jobs"); }
};

TEST_F(BatchTest, GivesEachFileItsOutput)
{
    std::string list;
    for (int i = 0; i < 20; ++i)
    {
        const std::string name = "in" + std::to_string(i);
        list += qpr::ToUtf8(directory.Write(name.c_str(), std::string(i * 10000, 'a'))) + (i % 2 ? "\r\n" : "\n");
    }
    const ProgramEnd end =
        Run({L"batch", L"--service", L"Echo", L"--output-dir", Output(), L"--suffix", L".copy", L"-"}, list);
    EXPECT_EQ(end.exitCode, 0u) << end;
    EXPECT_EQ(end.errors.find("20 done, 0 failed, "), 0u) << end;
    EXPECT_EQ(FilesIn("out").size(), 20u);
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(Content("out/in" + std::to_string(i) + ".copy") == std::string(i * 10000, 'a'));
}

TEST_F(BatchTest, ReportsAFailedFileAndGoesOn)
{
    const std::wstring good = directory.Write("good", "data");
    const std::wstring missing = directory.PathOf("absent");
    const ProgramEnd end =
        Run({L"batch", L"--service", L"Echo", L"--output-dir", Output(), L"--joblog", JobLog(), missing, good});
    EXPECT_EQ(end.exitCode, 1u);
    EXPECT_EQ(end.errors.find("qx: " + qpr::ToUtf8(missing) + ": cannot read '" + qpr::ToUtf8(missing) + "': "), 0u)
        << end;
    EXPECT_NE(end.errors.find("\n1 done, 1 failed, "), std::string::npos) << end;
    EXPECT_TRUE(end.errors.ends_with("\nqx: 1 of 2 calls failed\n")) << end;
    EXPECT_EQ(FilesIn("out"), std::set<std::string>{"good.out"});
    const std::vector<std::string> lines = JobLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "seq\tfile\tstart\tduration\tin\tout\tresult\t--service=Echo");
}

TEST_F(BatchTest, LeavesNoPartOfAnOutputThatFailed)
{
    std::filesystem::create_directories(directory.Path() / "out" / "in.out" / "in the way");
    const ProgramEnd end =
        Run({L"batch", L"--service", L"Echo", L"--output-dir", Output(), directory.Write("in", "x")});
    EXPECT_EQ(end.exitCode, 1u);
    EXPECT_EQ(FilesIn("out"), std::set<std::string>{"in.out"});
}

TEST_F(BatchTest, LeavesNoPartOfAKilledRun)
{
    const std::wstring input = directory.Write("in", "x");
    const std::vector<std::wstring> arguments = {
        L"batch", L"--service", L"Hang", L"--output-dir", Output(), L"--joblog", JobLog(), input};
    test::RunningProgram program(Start(arguments));
    while (!std::filesystem::exists(Output()) || FilesIn("out").empty())
        std::this_thread::yield();
    program.Kill();
    program.WaitForEnd();
    EXPECT_EQ(FilesIn("out").size(), 1u);
    EXPECT_EQ(Run({L"batch", L"--service", L"Echo", L"--output-dir", Output(), input}).exitCode, 0u);
    EXPECT_EQ(FilesIn("out"), std::set<std::string>{"in.out"});
}

TEST_F(BatchTest, ResumesWhereTheJobLogEndsAndOutputsAreThere)
{
    std::filesystem::create_directory(directory.Path() / "out");
    std::string before = "seq\tfile\tstart\tduration\tin\tout\tresult\t--service=Echo\n";
    std::string list;
    const auto add = [&](const char* name, const char* result, const char* output)
    {
        const std::string path = qpr::ToUtf8(directory.Write(name, "1"));
        list += path + '\n';
        before += "1\t" + path + "\t2026-01-01T00:00:00.000Z\t0.100\t1\t1\t" + result + '\n';
        if (output)
            directory.Write(("out/" + std::string(name) + ".out").c_str(), output);
    };
    add("done", "done", "-");
    add("deleted", "done", nullptr);
    add("cut", "done", "");
    add("failed", "failed: no luck", nullptr);
    const std::string torn = qpr::ToUtf8(directory.Write("torn", "1"));
    directory.Write("jobs", before + "3\t" + torn + "\t2026-01-01T00:00:00.000Z\t0.100\t1\t1\tdo");
    const std::vector<std::wstring> arguments = {L"batch", L"--service", L"Echo", L"--output-dir", Output(),
        L"--joblog", JobLog(), L"--resume", L"@" + directory.Write("list", list + torn + "\n")};
    const ProgramEnd end = Run(arguments);
    EXPECT_EQ(end.exitCode, 0u) << end;
    EXPECT_EQ(end.errors.find("4 done, 0 failed, 1 skipped, "), 0u) << end;
    EXPECT_EQ(FilesIn("out"), (std::set<std::string>{"done.out", "deleted.out", "cut.out", "failed.out", "torn.out"}));
    EXPECT_EQ(Content("out/done.out"), "-");
    EXPECT_EQ(Content("out/cut.out"), "1");
    EXPECT_TRUE(Content("jobs").starts_with(before));
    EXPECT_EQ(JobLines().size(), 9u);

    std::vector<std::wstring> otherService = arguments;
    otherService[2] = L"FirstLine";
    const ProgramEnd refused = Run(otherService);
    EXPECT_EQ(refused.exitCode, 2u);
    EXPECT_NE(refused.errors.find("is of a run with --service=Echo, not --service=FirstLine"), std::string::npos);
}

TEST_F(BatchTest, DoesNotTakeAnotherFileForAJobLog)
{
    const std::string text = "this is my only copy\n";
    const std::wstring file = directory.Write("jobs", text);
    std::vector<std::wstring> arguments = {
        L"batch", L"--service", L"Echo", L"--output-dir", Output(), L"--joblog", file, directory.Write("in", "x")};
    EXPECT_EQ(Run(arguments),
        (ProgramEnd{1, "", "qx: job log '" + qpr::ToUtf8(file) + "' is not a job log, and is left as it is\n"}));
    arguments.push_back(L"--resume");
    EXPECT_EQ(Run(arguments), (ProgramEnd{1, "", "qx: job log '" + qpr::ToUtf8(file) + "' is not a job log\n"}));
    EXPECT_EQ(Content("jobs"), text);
}
