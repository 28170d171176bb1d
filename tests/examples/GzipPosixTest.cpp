#include "support/ProgramRun.h"

#include <gtest/gtest.h>

#include <zlib.h>

namespace
{

std::string Unzip(std::string data)
{
    z_stream stream = {};
    std::string text(1000, '\0');
    inflateInit2(&stream, 15 + 16); // a gzip header
    stream.next_in = reinterpret_cast<Bytef*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    const int result = inflate(&stream, Z_FINISH);
    text.resize(stream.total_out);
    inflateEnd(&stream);
    return result == Z_STREAM_END ? text : "(no gzip data)";
}

} // namespace

TEST(GzipPosixTest, TheConfigurationOfTheExamplesWorksWhereItStands)
{
    const test::ProgramEnd end = test::RunProgram(
        {L"qx", {L"call", L"--config", QX_EXAMPLES_DIRECTORY L"/QxConfiguration.xml", L"Gzip"}, "hello\n"});
    EXPECT_EQ(end.exitCode, 0u) << end.errors;
    EXPECT_EQ(Unzip(end.output), "hello\n");
}

TEST(GzipPosixTest, HelloFindsTheConfigurationBesideItself)
{
    const test::ProgramEnd end = test::RunProgram({L"hello", {}});
    EXPECT_EQ(end.errors, "");
    EXPECT_EQ(Unzip(end.output), "hello\n");
}
