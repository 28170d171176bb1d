// "BlockedRawDeflate", writer and reader, beside bare zlib with the same settings and buffer. Argument: MiB of data
// (32).

#include "bench/CompressionData.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "streams/ByteStreams.h"
#include "streams/compression/BlockedRawDeflate.h"

#include <ostream>
#include <zlib.h>

namespace
{

using bench::Bytes;
using bench::Reach;

constexpr std::size_t pieceSize = 65536;
constexpr std::size_t bufferSize = qpr::BlockedRawDeflateWriter::DefaultBufferSize;
constexpr int repetitions = 7;

/// Keeps what is written.
struct Sink
{
    void Write(const void* data, std::size_t size)
    {
        const auto* start = static_cast<const std::uint8_t*>(data);
        bytes.insert(bytes.end(), start, start + size);
    }
    void Flush() { }

    Bytes bytes;
};

struct Source
{
    std::size_t Read(void* target, std::size_t size)
    {
        const std::size_t taken = std::min(size, bytes.size() - next);
        std::memcpy(target, bytes.data() + next, taken);
        next += taken;
        return taken;
    }
    bool InputPending() { return true; }

    const Bytes& bytes;
    std::size_t next = 0;
};

Bytes DeflateByStream(const Bytes& data)
{
    Sink sink;
    qpr::GenericOutputStream<Sink> output(sink, pieceSize);
    qpr::BlockedRawDeflateWriter writer(output);
    for (std::size_t i = 0; i < data.size(); i += pieceSize)
        writer.Write(&data[i], std::min(pieceSize, data.size() - i));
    writer.Flush();
    return std::move(sink.bytes);
}

Bytes DeflateBare(const Bytes& data)
{
    Sink sink;
    Bytes buffer(bufferSize);
    z_stream stream = {};
    deflateInit2(&stream, 1, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    for (std::size_t i = 0; i < data.size(); i += pieceSize)
    {
        const bool last = i + pieceSize >= data.size();
        stream.next_in = const_cast<Bytef*>(&data[i]);
        stream.avail_in = static_cast<uInt>(std::min(pieceSize, data.size() - i));
        do
        {
            stream.next_out = buffer.data();
            stream.avail_out = static_cast<uInt>(buffer.size());
            deflate(&stream, last ? Z_SYNC_FLUSH : Z_NO_FLUSH);
            sink.Write(buffer.data(), buffer.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return std::move(sink.bytes);
}

std::size_t InflateByStream(const Bytes& frames)
{
    Source source{frames};
    qpr::GenericInputStream<Source> input(source, pieceSize);
    qpr::BlockedRawDeflateReader reader(input);
    Bytes piece(pieceSize);
    std::size_t total = 0;
    while (const std::size_t count = reader.Read(piece.data(), piece.size()))
        total += count;
    return total;
}

std::size_t InflateBare(const Bytes& deflated)
{
    Source source{deflated};
    Bytes buffer(bufferSize), piece(pieceSize);
    z_stream stream = {};
    inflateInit2(&stream, -15);
    std::size_t total = 0;
    while ((stream.avail_in = static_cast<uInt>(source.Read(buffer.data(), buffer.size()))) != 0)
    {
        stream.next_in = buffer.data();
        do
        {
            stream.next_out = piece.data();
            stream.avail_out = static_cast<uInt>(piece.size());
            inflate(&stream, Z_SYNC_FLUSH);
            total += piece.size() - stream.avail_out;
        } while (stream.avail_out == 0);
    }
    inflateEnd(&stream);
    return total;
}

bool CompareOn(const bench::DataSet& set)
{
    std::vector<double> written, writtenBare, read, readBare;
    for (int i = 0; i < repetitions; ++i)
    {
        Bytes frames, bare;
        written.push_back(bench::ProcessorSeconds([&] { frames = DeflateByStream(set.bytes); }));
        writtenBare.push_back(bench::ProcessorSeconds([&] { bare = DeflateBare(set.bytes); }));
        std::size_t size = 0, sizeBare = 0;
        read.push_back(bench::ProcessorSeconds([&] { size = InflateByStream(frames); }));
        readBare.push_back(bench::ProcessorSeconds([&] { sizeBare = InflateBare(bare); }));
        if (size != set.bytes.size() || sizeBare != set.bytes.size())
            std::fprintf(stderr, "%s: data lost\n", set.name.c_str()), std::exit(2);
    }
    const auto rate = [&](const std::vector<double>& seconds)
    { return static_cast<double>(set.bytes.size()) / 1e6 / bench::MedianOf(seconds); };
    bool ok = bench::Compare(
        (set.name + ", written").c_str(), rate(written), "bare zlib", rate(writtenBare), "MB/s", Reach::AtLeast, 0.95);
    ok &= bench::Compare(
        (set.name + ", read").c_str(), rate(read), "bare zlib", rate(readBare), "MB/s", Reach::AtLeast, 0.95);
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    const std::size_t size = (argc > 1 ? std::stoul(argv[1]) : 32) << 20;
    bool ok = true;
    for (const auto& set : bench::CompressionData(size))
        if (set.name != "noise")
            ok &= CompareOn(set);
    return ok ? 0 : 1;
}
