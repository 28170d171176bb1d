#include "streams/ByteStreams.h"

#include "PieceReader.h"
#include "SampleData.h"
#include "runtime/channels/IWriter.h"
#include "streams/compression/BlockedQLZ14.h"
#include "streams/compression/BlockedRawDeflate.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <thread>

using compression_test::PieceReader;

namespace
{

class ScriptedWriter : public qpr::IWriter
{
public:
    void Write(const void* buffer, std::size_t size) override
    {
        if (isBroken)
            throw std::runtime_error("broken");
        pieces.emplace_back(static_cast<const char*>(buffer), size);
    }
    void Flush() override { ++flushCount; }

    std::vector<std::string> pieces;
    int flushCount = 0;
    bool isBroken = false;
};

using InputStream = qpr::GenericInputStream<qpr::IReader>;
using OutputStream = qpr::GenericOutputStream<qpr::IWriter>;
using Pieces = std::vector<std::string>;

} // namespace

TEST(ByteStreams, ReadsWhateverThePiecesAre)
{
    std::string data;
    for (int i = 0; i < 1000; ++i)
        data += std::to_string(i) + '\n';
    for (const std::size_t pieceSize : {1, 7, 5000})
    {
        for (const std::size_t bufferSize : {1, 10, 4096})
        {
            PieceReader reader(data, pieceSize);
            InputStream stream(reader, bufferSize);
            std::string line;
            std::getline(stream, line);
            EXPECT_EQ(line, "0");
            std::string rest(data.size(), ' ');
            stream.read(rest.data(), static_cast<std::streamsize>(rest.size()));
            EXPECT_EQ(rest.substr(0, static_cast<std::size_t>(stream.gcount())), data.substr(2));
            EXPECT_TRUE(stream.eof());
        }
    }
}

TEST(ByteStreams, LargeReadsPassTheBufferByAndABufferOfOneByteTakesNoneTooMany)
{
    PieceReader reader(std::string(50, 'x') + "$ rest");
    InputStream stream(reader, 16);
    char target[100];
    stream.read(target, 4); // fills the buffer
    stream.read(target, 46); // empties it and takes the rest of its own
    InputStream oneByte(reader, 1);
    EXPECT_EQ(oneByte.get(), '$');
    EXPECT_EQ(oneByte.get(), ' ');
    EXPECT_EQ(std::string(target, reader.Read(target, 100)), "rest");
    EXPECT_EQ(reader.requests, (std::vector<std::size_t>{16, 34, 1, 1, 100}));
}

TEST(ByteStreams, TellsWhatCanBeReadWithoutBlocking)
{
    PieceReader reader("", 3, false);
    InputStream stream(reader, 10);
    char target[10];
    EXPECT_FALSE(stream.InputPending());
    EXPECT_EQ(stream.readsome(target, 10), 0);
    reader.Arrive("abcdef");
    EXPECT_EQ(stream.readsome(target, 10), 3);
    EXPECT_EQ(stream.get(), 'd');
    EXPECT_TRUE(stream.InputPending()) << "two bytes are buffered";
    EXPECT_EQ(stream.readsome(target, 10), 2);
    EXPECT_FALSE(stream.InputPending());
    reader.Close();
    EXPECT_EQ(stream.readsome(target, 10), 0);
    EXPECT_TRUE(stream.eof());
}

TEST(ByteStreams, TheByteReadLastCanBePutBackHoweverItWasRead)
{
    std::mt19937 random(1);
    const auto upTo = [&](unsigned limit) { return static_cast<std::streamsize>(random() % (limit + 1)); };
    const std::string data = compression_test::Noise(20000);
    for (const std::size_t bufferSize : {1, 10, 64})
    {
        PieceReader reader(data, 30);
        InputStream stream(reader, bufferSize);
        std::string got(200, ' ');
        for (std::size_t position = 0; position < data.size();)
        {
            stream.read(got.data(), upTo(random() % 2 != 0 ? 3 : 200));
            ASSERT_EQ(got.substr(0, static_cast<std::size_t>(stream.gcount())),
                data.substr(position, static_cast<std::size_t>(stream.gcount())));
            position += static_cast<std::size_t>(stream.gcount());
            if (position == 0)
                continue;
            if (random() % 2 != 0)
                stream.peek();
            stream.clear(); // of the end
            stream.unget();
            ASSERT_EQ(stream.get(), static_cast<unsigned char>(data[position - 1]));
            for (const char other : {'?', data[position - 1]})
            {
                stream.putback(other);
                ASSERT_EQ(stream.get(), static_cast<unsigned char>(other));
            }
        }
    }
    PieceReader reader("ab");
    InputStream stream(reader, 10);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(test::ErrorOf([&] { stream.unget(); }), "No byte left that can be put back");
    EXPECT_EQ(stream.get(), 'a');
}

TEST(ByteStreams, AReaderThatFailsIsNotAskedAgain)
{
    struct
    {
        std::size_t Read(void*, std::size_t) { throw std::runtime_error("failure " + std::to_string(++count)); }
        bool InputPending() { return true; }
        int count = 0;
    } reader;
    qpr::GenericInputStream<decltype(reader)> stream(reader, 10);
    char target[100];
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(test::ErrorOf([&] { stream.read(target, 100); }), "failure 1");
        EXPECT_EQ(test::ErrorOf([&] { stream.get(); }), "failure 1");
        EXPECT_EQ(test::ErrorOf([&] { stream.InputPending(); }), "failure 1");
        stream.clear();
    }
}

TEST(ByteStreams, AnInterruptIsACancelledCallForOtherThreads)
{
    PieceReader reader("ab", 10, false);
    InputStream stream(reader, 10);
    std::string word;
    EXPECT_THROW(stream >> word, qpr::InterruptException);
    reader.Arrive("too late ");
    EXPECT_THROW(stream >> word, qpr::InterruptException);
    std::jthread([&] { EXPECT_EQ(test::ErrorOf([&] { stream >> word; }), "Call cancelled"); });
}

TEST(ByteStreams, CollectsSmallWritesAndPassesLargeOnesOn)
{
    ScriptedWriter writer;
    OutputStream stream(writer, 8);
    stream << "abc" << 12345;
    EXPECT_EQ(writer.pieces, Pieces());
    stream << 'x' << "0123456789abcdefghij";
    EXPECT_EQ(writer.pieces, (Pieces{"abc12345", "x0123456", "789abcdefghij"}));
    stream << "z" << std::flush;
    EXPECT_EQ(writer.pieces.back(), "z");
    EXPECT_EQ(writer.flushCount, 1);
}

TEST(ByteStreams, AfterTheEndOfTheOutputEveryWriteThrowsAtOnce)
{
    ScriptedWriter writer;
    OutputStream stream(writer, 8);
    stream << "ab" << std::flush << "cd";
    stream.End();
    for (int i = 0; i < 2; ++i)
    {
        stream.flush();
        EXPECT_EQ(test::ErrorOf([&] { stream << 'x'; }), "Write after the end of the output");
        EXPECT_EQ(test::ErrorOf([&] { stream << "0123456789"; }), "Write after the end of the output");
    }
    EXPECT_EQ(writer.pieces, Pieces{"ab"});
}

/// Whatever the application does after the first error, and wherever that came: it gets the same error again, the
/// channel gets nothing more, and no write is remembered by the caller's address.
void ExpectThatAFailureStays(std::ostream& stream, ScriptedWriter& writer, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<std::string> errors;
    for (int i = 0; errors.size() < 20; ++i)
    {
        writer.isBroken = writer.isBroken || random() % 10 == 0;
        const std::size_t before = writer.pieces.size();
        const auto data = std::make_unique<std::string>(compression_test::Noise(random() % 3 == 0 ? 200000 : 3));
        std::string error = test::ErrorOf([&] { random() % 4 == 0 ? stream.flush() : stream << *data; });
        if (error != "no error" || !errors.empty())
        {
            errors.push_back(std::move(error));
            writer.isBroken = false;
            EXPECT_EQ(writer.pieces.size(), before);
        }
        if (random() % 4 == 0)
            stream.clear();
    }
    EXPECT_EQ(errors, std::vector<std::string>(20, "broken"));
}

TEST(ByteStreams, AWriterThatFailedStaysFailedInEveryForm)
{
    for (unsigned seed = 0; seed < 20; ++seed)
    {
        ScriptedWriter writer;
        const auto expectBeneath = [&]<class Codec>(Codec*)
        {
            OutputStream channel(writer, 65536);
            Codec codec(channel);
            qpr::GenericOutputStream<Codec> stream(codec, 1024);
            ExpectThatAFailureStays(stream, writer, seed);
        };
        OutputStream plain(writer, 65536);
        ExpectThatAFailureStays(plain, writer, seed);
        expectBeneath(static_cast<qpr::BlockedRawDeflateWriter*>(nullptr));
        expectBeneath(static_cast<qpr::BlockedQLZ14Writer*>(nullptr));
    }
}

TEST(ByteStreams, OfWideCharactersAreTheSameWhateverTheApplicationsLocale)
{
    struct Grouping : std::numpunct<wchar_t>
    {
        std::string do_grouping() const override { return "\3"; }
    };
    struct WideWriter
    {
        void Write(const wchar_t* characters, std::size_t count) { text.append(characters, count); }
        void Flush() { text += L'|'; }
        std::wstring text;
    } writer;
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    qpr::GenericOutputStream<WideWriter, wchar_t> stream(writer, 4);
    std::locale::global(before);
    stream << L"wide \x20AC " << 1234567 << std::endl;
    EXPECT_EQ(writer.text, L"wide \x20AC 1234567\n|");
}
