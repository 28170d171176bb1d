#include "support/ProgramRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace
{

/// Lines of very different lengths, of noise or of a few letters.
std::vector<std::string> Lines(std::size_t size, bool isNoise)
{
    std::mt19937 random(static_cast<unsigned>(size));
    std::vector<std::string> lines;
    while (size != 0)
    {
        std::string line(
            std::min<std::size_t>(1 + (random() % 10 == 0 ? random() % 100000 : random() % 80), size), '\n');
        for (char& character : line)
            character = static_cast<char>(isNoise ? 14 + random() % 242 : 'a' + random() % 3);
        size -= line.size();
        lines.push_back(line.substr(1) + '\n');
    }
    return lines;
}

std::string Joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line;
    return text;
}

test::ProgramStart Call(const wchar_t* service, std::string input)
{
    return {L"qx", {L"call", L"--config", QX_EXAMPLES_DIRECTORY L"/QxConfiguration.xml", service}, std::move(input)};
}

} // namespace

// The end of what gzip writes says what it has packed, and how much.
TEST(ScriptsPosixTest, AServantInShellWorksWhereItStands)
{
    using namespace std::string_literals;
    const test::ProgramEnd end = test::RunProgram(Call(L"Gzip", "hello\n"));
    EXPECT_EQ(end.exitCode, 0u) << end.errors;
    EXPECT_TRUE(end.output.ends_with("\x20\x30\x3a\x36\x06\0\0\0"s));
}

// Compressed both ways by another writer and reader than ours; our frames hold 32768 bytes at most, the servant's
// 100000.
TEST(ScriptsPosixTest, AServantInPythonReadsAndWritesCompressedData)
{
    const struct
    {
        std::size_t size;
        bool isNoise;
    } cases[] = {{0, false}, {1, false}, {40000, true}, {3000000, false}, {3000000, true}};
    for (const auto [size, isNoise] : cases)
    {
        std::vector<std::string> lines = Lines(size, isNoise);
        const test::ProgramEnd end = test::RunProgram(Call(L"Sort", Joined(lines)));
        EXPECT_EQ(end.exitCode, 0u) << end.errors;
        EXPECT_EQ(end.errors, "");
        std::ranges::sort(lines);
        EXPECT_TRUE(end.output == Joined(lines)) << size << (isNoise ? " noise" : " text");
    }
}
