#include "PieceReader.h"
#include "SampleData.h"

#include "streams/ByteStreams.h"
#include "streams/compression/BlockedQLZ14.h"
#include "streams/compression/BlockedRawDeflate.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace compression_test;
using namespace std::string_literals;

namespace
{

struct RawDeflate
{
    using Writer = qpr::BlockedRawDeflateWriter;
    using Reader = qpr::BlockedRawDeflateReader;
};

struct QLZ14
{
    using Writer = qpr::BlockedQLZ14Writer;
    using Reader = qpr::BlockedQLZ14Reader;
};

template <class Protocol>
std::string Compress(const std::string& data)
{
    std::ostringstream channel;
    typename Protocol::Writer writer(channel);
    writer.Write(data.data(), data.size());
    writer.Flush();
    return channel.str();
}

/// A reader over a channel, as a connection has it.
template <class Reader>
struct Receiver
{
    explicit Receiver(PieceReader source)
        : channel(std::move(source))
    {
    }

    std::string Read(std::size_t size)
    {
        std::string data(size, '\0');
        data.resize(reader.Read(data.data(), size));
        return data;
    }

    std::string ReadAll(std::size_t requestSize)
    {
        std::string all;
        for (std::string some = Read(requestSize); !some.empty(); some = Read(requestSize))
            all += some;
        return all;
    }

    PieceReader channel;
    qpr::GenericInputStream<PieceReader> input{channel, 65536};
    Reader reader{input};
};

template <class Reader>
std::string ReadError(const std::string& bytes)
{
    Receiver<Reader> receiver{PieceReader(bytes)};
    std::string errors[2];
    for (std::string& error : errors)
        error = test::ErrorOf([&] { receiver.ReadAll(100); });
    EXPECT_EQ(errors[0], errors[1]) << "reading on after an error must fail again";
    return errors[0];
}

template <class Protocol>
class CompressedStreams : public testing::Test
{
};

using Protocols = testing::Types<RawDeflate, QLZ14>;
TYPED_TEST_SUITE(CompressedStreams, Protocols);

} // namespace

TYPED_TEST(CompressedStreams, CarriesDataOfEveryKindAndSize)
{
    for (const auto& kind : dataKinds)
        for (const std::size_t size : dataSizes)
        {
            SCOPED_TRACE(kind.name + std::to_string(size));
            const std::string data = kind.make(size);
            const std::string frames = Compress<TypeParam>(data);
            using Receiver = Receiver<typename TypeParam::Reader>;
            EXPECT_TRUE(Receiver{PieceReader(frames)}.ReadAll(1 << 20) == data);
            if (size <= 65537)
            {
                EXPECT_TRUE(Receiver{PieceReader(frames, 7)}.ReadAll(1000) == data);
            }
        }
}

TYPED_TEST(CompressedStreams, AnswersAreReadWithoutWaitingForMore)
{
    std::ostringstream sent;
    typename TypeParam::Writer writer(sent);
    Receiver<typename TypeParam::Reader> receiver{PieceReader("", 65536, false)};
    for (const std::size_t requestSize : {1 << 20, 100})
        for (const std::string& answer : {Text(10), Text(70000), Runs(300000), "x"s})
        {
            sent.str("");
            writer.Write(answer.data(), answer.size());
            writer.Flush();
            const std::string frames = sent.str();
            writer.Flush();
            EXPECT_EQ(sent.str(), frames) << "there was nothing more to send";
            EXPECT_FALSE(receiver.reader.InputPending());
            for (const char byte : frames.substr(0, 3))
            {
                receiver.channel.Arrive({&byte, 1});
                EXPECT_FALSE(receiver.reader.InputPending()) << "no whole frame has arrived";
            }
            receiver.channel.Arrive(frames.substr(3));
            EXPECT_TRUE(receiver.reader.InputPending());
            std::string got;
            while (got.size() < answer.size())
                got += receiver.Read(requestSize);
            EXPECT_TRUE(got == answer);
        }
    receiver.channel.Close();
    EXPECT_TRUE(receiver.reader.InputPending());
    EXPECT_EQ(receiver.Read(10), "");
}

TYPED_TEST(CompressedStreams, RefusesMalformedFrames)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", "no error"},
        {"x", "Expected delimiter '[' (91) at start of compressed block but got 'x' (120)"},
        {"[0|]", "Invalid compressed block length 0"},
        {"[10485761|", "Invalid compressed block length 10485761"},
        {"[99999999999999999999999|", "Invalid compressed block length 99999999999999999999"},
        {"[-5|", "Invalid compressed block length '-' (45)"},
        {"[|", "Invalid compressed block length '|' (124)"},
        {"[5:", "Expected delimiter '|' (124) after length of compressed block but got ':' (58)"},
        {"[3|abc)", "Expected delimiter ']' (93) after compressed data but got ')' (41)"},
        {"[", "Unexpected end of stream reading compressed data"},
        {"[5", "Unexpected end of stream reading compressed data"},
        {"[5|abc", "Unexpected end of stream reading compressed data"},
        {"[3|abc", "Unexpected end of stream reading compressed data"},
    };
    for (const auto& [frames, error] : cases)
        EXPECT_EQ(ReadError<typename TypeParam::Reader>(frames), error) << frames;
}

TEST(BlockedQLZ14, CutsBlocksOf65536Bytes)
{
    std::ostringstream channel;
    qpr::BlockedQLZ14Writer writer(channel);
    const std::string data = Noise(70000);
    writer.Write(data.data(), 1000);
    writer.Write(data.data() + 1000, 69000);
    EXPECT_EQ(channel.str(), "[65545|\x46\x09\0\x01\0\0\0\x01\0"s + data.substr(0, 65536) + "]");
    writer.Flush();
    EXPECT_EQ(channel.str().substr(65553), "[4473|\x46\x79\x11\0\0\x70\x11\0\0"s + data.substr(65536) + "]");
}

TEST(CompressingCodecs, RefuseWhatTheirCodecsDo)
{
    using qpr::BlockedQLZ14Reader, qpr::BlockedRawDeflateReader;
    EXPECT_EQ(ReadError<BlockedQLZ14Reader>("[3|\x44\x03\0]"s), "Invalid uncompressed block length 0");
    EXPECT_EQ(ReadError<BlockedQLZ14Reader>("[1|\x44]"), "Invalid compressed data: header cut off");
    EXPECT_EQ(ReadError<BlockedRawDeflateReader>("[3|\xFF\xFF\xFF]"), "inflate() failed, zlib result code = -3");
    EXPECT_EQ(ReadError<BlockedRawDeflateReader>("[2|\x03\0]"s), "inflate() failed, zlib result code = 1");
}

TEST(CompressingCodecs, RefuseBuffersThatNoFrameFits)
{
    std::ostringstream channel;
    for (const std::size_t size : {0, 6, 10485761})
        EXPECT_EQ(test::ErrorOf([&] { qpr::BlockedRawDeflateWriter(channel, size); }),
            "qpr::BlockedRawDeflateWriter::BlockedRawDeflateWriter: invalid bufferSize");
    for (const std::size_t size : {0, 10485761})
        EXPECT_EQ(test::ErrorOf([&] { qpr::BlockedQLZ14Writer(channel, size); }),
            "qpr::BlockedQLZ14Writer::BlockedQLZ14Writer: invalid blockSize");
}
