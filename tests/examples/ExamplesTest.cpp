#include "config/TemporaryDirectory.h"
#include "support/ProgramRun.h"

#include <gtest/gtest.h>

#include <fstream>

using test::ProgramEnd;

namespace
{

/// The examples' texts end their lines as the system does.
ProgramEnd RunProgram(const test::ProgramStart& start)
{
    ProgramEnd end = test::RunProgram(start);
    std::erase(end.output, '\r');
    std::erase(end.errors, '\r');
    return end;
}

std::string Content(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

} // namespace

TEST(ExamplesTest, RendererPutsThePictureTogetherWhateverTheTiles)
{
    const test::TemporaryDirectory directory;
    const auto render = [&directory](const wchar_t* tileSide, const char* name)
    {
        return RunProgram({L"mandelbrot",
            {L"--width", L"90", L"--height", L"50", L"--iterations", L"300", L"--tile", tileSide,
                directory.PathOf(name)}});
    };
    const ProgramEnd inTiles = render(L"32", "tiles.png");
    EXPECT_EQ(inTiles.exitCode, 0u) << inTiles;
    EXPECT_NE(inTiles.output.find("tiles.png: 90 x 50 pixels\n6 calls in "), std::string::npos) << inTiles;
    EXPECT_NE(inTiles.output.find("\n6 of them on this computer, 0 over the network\n"), std::string::npos) << inTiles;
    EXPECT_EQ(render(L"90", "whole.png").exitCode, 0u);

    const std::string picture = Content(directory.Path() / "tiles.png");
    EXPECT_EQ(picture.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_TRUE(picture == Content(directory.Path() / "whole.png"));
}

TEST(ExamplesTest, RendererReportsATileThatFails)
{
    const test::TemporaryDirectory directory;
    directory.Write("empty.xml", "<QxConfiguration/>");
    const ProgramEnd end = RunProgram({L"mandelbrot",
        {L"--width", L"8", L"--height", L"8", L"--connector",
            L"<LocalServiceConnector QxConfigurationPath='" + directory.PathOf("empty.xml") + L"'/>",
            directory.PathOf("x.png")}});
    EXPECT_EQ(
        end, (ProgramEnd{1, "", "mandelbrot: tile at 0, 0: Service 'Mandelbrot' not available on local computer\n"}));
    EXPECT_FALSE(std::filesystem::exists(directory.Path() / "x.png"));
}

TEST(ExamplesTest, HelloFindsTheConfigurationBesideItself)
{
    const test::TemporaryDirectory directory;
    const std::filesystem::path servant = std::filesystem::absolute(test::ProgramPath(L"qx-test-servant"));
    const std::filesystem::path hello = test::ProgramPath(L"hello");
    std::filesystem::copy_file(hello, directory.Path() / hello.filename());
    directory.Write("QxConfiguration.xml",
        "<QxConfiguration><Servants><Servant TargetPlatform='WinX64' RelativePath='"
            + std::filesystem::relative(servant, directory.Path()).string()
            + "'><Services><Service Name='Gzip'><ExpectedProcessorUsage>0.01</ExpectedProcessorUsage>"
              "<ExpectedMemoryUsageInMB>1</ExpectedMemoryUsageInMB></Service></Services></Servant></Servants></"
              "QxConfiguration>");
    // Where each system looks for the library when it is not beside the program.
    const std::wstring libraries = servant.parent_path().wstring();
    EXPECT_EQ(RunProgram({(directory.Path() / "hello").wstring(), {}, "",
                  {{L"PATH", libraries}, {L"LD_LIBRARY_PATH", libraries}}}),
        (ProgramEnd{0, "hello\n", ""}));
}
