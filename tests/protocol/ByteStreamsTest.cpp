#include "protocol/ByteStreams.h"

#include "PieceReader.h"
#include "runtime/IWriter.h"

#include <gtest/gtest.h>

#include <stdexcept>

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
            EXPECT_EQ(stream.BytesTransferred(), data.size());
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

TEST(ByteStreams, ReaderFailuresComeThroughAndStay)
{
    PieceReader reader("ab", 10, false);
    InputStream stream(reader, 10);
    std::string word;
    EXPECT_THROW(stream >> word, compression_test::NothingThere);
    EXPECT_THROW(stream.get(), std::ios_base::failure);
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
    EXPECT_EQ(stream.BytesTransferred(), 30U);
}

TEST(ByteStreams, DropsWhatIsNotFlushedAndNeverSendsAgainWhatFailed)
{
    ScriptedWriter writer;
    OutputStream stream(writer, 8);
    stream << "ab";
    stream.Abandon();
    stream << "cd" << std::flush << "ef";
    writer.isBroken = true;
    EXPECT_THROW(stream.flush(), std::runtime_error);
    writer.isBroken = false;
    EXPECT_THROW(stream << 'g', std::ios_base::failure);
    stream.clear();
    stream.flush();
    stream << 'h';
    EXPECT_EQ(writer.pieces, (Pieces{"cd"}));
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
