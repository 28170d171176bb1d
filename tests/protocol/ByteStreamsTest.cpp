#include "protocol/ByteStreams.h"

#include "runtime/IReader.h"
#include "runtime/IWriter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

/// No std::exception, as an interrupt is none.
struct GivenUp
{
};

/// Hands out the data in pieces, remembers how much was asked for, and throws when it reaches the mark '!'.
class ScriptedReader : public qpr::IReader
{
public:
    explicit ScriptedReader(std::string data, std::size_t pieceSize = 1000000)
        : m_data(std::move(data))
        , m_pieceSize(pieceSize)
    {
    }

    std::size_t Read(void* buffer, std::size_t size) override
    {
        requests.push_back(size);
        const std::string piece = m_data.substr(0, std::min(size, m_pieceSize));
        if (piece.starts_with('!'))
            throw GivenUp();
        const std::size_t count = std::min(piece.size(), piece.find('!'));
        std::memcpy(buffer, piece.data(), count);
        m_data.erase(0, count);
        return count;
    }
    bool InputPending() override { return isPending; }

    std::vector<std::size_t> requests;
    bool isPending = true;

private:
    std::string m_data;
    std::size_t m_pieceSize;
};

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
using Requests = std::vector<std::size_t>;

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
            ScriptedReader reader(data, pieceSize);
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

TEST(ByteStreams, OneByteBufferTakesNoByteTooMany)
{
    ScriptedReader reader("$ rest");
    InputStream stream(reader, 1);
    EXPECT_EQ(stream.get(), '$');
    EXPECT_EQ(stream.get(), ' ');
    char rest[10];
    EXPECT_EQ(std::string(rest, reader.Read(rest, sizeof rest)), "rest");
}

TEST(ByteStreams, LargeReadsPassTheBufferBy)
{
    ScriptedReader reader(std::string(50, 'x'));
    InputStream stream(reader, 16);
    char target[100];
    stream.read(target, 4); // fills the buffer
    stream.read(target, 36); // empties it and takes the rest of its own
    EXPECT_EQ(reader.requests, (Requests{16, 24}));
}

TEST(ByteStreams, TellsWhatCanBeReadWithoutBlocking)
{
    ScriptedReader reader("abcdef", 3);
    InputStream stream(reader, 10);
    reader.isPending = false;
    char target[10];
    EXPECT_FALSE(stream.InputPending());
    EXPECT_EQ(stream.readsome(target, 10), 0);
    reader.isPending = true;
    EXPECT_EQ(stream.readsome(target, 10), 3);
    EXPECT_EQ(stream.get(), 'd');
    reader.isPending = false;
    EXPECT_TRUE(stream.InputPending()) << "two bytes are buffered";
    EXPECT_EQ(stream.readsome(target, 10), 2);
    reader.isPending = true;
    EXPECT_EQ(stream.readsome(target, 10), 0);
    EXPECT_TRUE(stream.eof());
}

TEST(ByteStreams, ReaderFailuresComeThroughAndStay)
{
    ScriptedReader reader("ab!");
    InputStream stream(reader, 10);
    std::string word;
    EXPECT_THROW(stream >> word, GivenUp);
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

TEST(ByteStreams, DropsWhatIsNotFlushed)
{
    ScriptedWriter writer;
    {
        OutputStream stream(writer, 8);
        stream << "ab";
        stream.Abandon();
        stream << "cd" << std::flush << "ef";
    }
    EXPECT_EQ(writer.pieces, (Pieces{"cd"}));
}

TEST(ByteStreams, NeverSendsAgainWhatFailed)
{
    ScriptedWriter writer;
    OutputStream stream(writer, 8);
    writer.isBroken = true;
    stream << "ab";
    EXPECT_THROW(stream.flush(), std::runtime_error);
    writer.isBroken = false;
    EXPECT_THROW(stream << 'c', std::ios_base::failure);
    stream.clear();
    stream.flush();
    EXPECT_EQ(writer.pieces, Pieces());
}

TEST(ByteStreams, IgnoresTheApplicationsLocale)
{
    struct Grouping : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    ScriptedWriter writer;
    OutputStream stream(writer, 8);
    stream << 1234567 << std::flush;
    EXPECT_EQ(writer.pieces, (Pieces{"1234567"}));
    std::locale::global(before);
}

TEST(ByteStreams, WideOnesTakeAWriterOfWideCharacters)
{
    struct WideWriter
    {
        void Write(const wchar_t* characters, std::size_t count) { text.append(characters, count); }
        void Flush() { text += L'|'; }
        std::wstring text;
    } writer;
    qpr::GenericOutputStream<WideWriter, wchar_t> stream(writer, 4);
    stream << L"wide \x20AC" << 42 << std::endl;
    EXPECT_EQ(writer.text,
        L"wide \x20AC"
        L"42\n|");
}
