// Level-1 packets of 64 KiB beside lz4, lzo1x-1, snappy and zlib level 1 on blocks of the same size, over text,
// binaries, numeric data and noise. Argument: MiB of each (32).

#include "bench/CompressionData.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "streams/compression/QuickLz.h"

#include <functional>
#include <lz4.h>
#include <lzo/lzo1x.h>
#include <snappy.h>
#include <span>
#include <zlib.h>

namespace
{

using bench::Bytes;
using bench::Reach;

constexpr std::size_t blockSize = 65536;
constexpr std::size_t packedRoom = blockSize + blockSize / 3;
constexpr int repetitions = 9;

/// Both return the size of what they made.
struct Codec
{
    const char* name;
    std::function<std::size_t(const std::uint8_t* data, std::uint8_t* packed)> compress;
    std::function<std::size_t(const std::uint8_t* packed, std::size_t size, std::uint8_t* data)> decompress;
};

Codec OurPackets()
{
    using namespace qpr::quicklz;
    auto compressor = std::make_shared<Compressor>();
    auto decompressor = std::make_shared<Decompressor>();
    return {"packets", [=](auto data, auto packed) { return compressor->Compress(data, blockSize, packed); },
        [=](auto packed, auto size, auto data)
        {
            const auto header = ReadHeader({packed, size});
            decompressor->Decompress(header, {packed, size}, data);
            return header.dataSize;
        }};
}

Codec Lz4()
{
    return {"lz4",
        [](auto data, auto packed)
        {
            return static_cast<std::size_t>(LZ4_compress_default(reinterpret_cast<const char*>(data),
                reinterpret_cast<char*>(packed), static_cast<int>(blockSize), static_cast<int>(packedRoom)));
        },
        [](auto packed, auto size, auto data)
        {
            return static_cast<std::size_t>(LZ4_decompress_safe(reinterpret_cast<const char*>(packed),
                reinterpret_cast<char*>(data), static_cast<int>(size), static_cast<int>(blockSize)));
        }};
}

Codec Lzo()
{
    auto work = std::make_shared<std::vector<char>>(LZO1X_1_MEM_COMPRESS);
    return {"lzo1x-1",
        [=](auto data, auto packed)
        {
            lzo_uint size = 0;
            lzo1x_1_compress(data, blockSize, packed, &size, work->data());
            return static_cast<std::size_t>(size);
        },
        [](auto packed, auto size, auto data)
        {
            lzo_uint made = blockSize;
            lzo1x_decompress_safe(packed, size, data, &made, nullptr);
            return static_cast<std::size_t>(made);
        }};
}

Codec Snappy()
{
    return {"snappy",
        [](auto data, auto packed)
        {
            std::size_t size = 0;
            snappy::RawCompress(reinterpret_cast<const char*>(data), blockSize, reinterpret_cast<char*>(packed), &size);
            return size;
        },
        [](auto packed, auto size, auto data)
        {
            const bool ok =
                snappy::RawUncompress(reinterpret_cast<const char*>(packed), size, reinterpret_cast<char*>(data));
            return ok ? blockSize : 0;
        }};
}

Codec Zlib()
{
    return {"zlib -1",
        [](auto data, auto packed)
        {
            uLongf size = packedRoom;
            compress2(packed, &size, data, blockSize, 1);
            return static_cast<std::size_t>(size);
        },
        [](auto packed, auto size, auto data)
        {
            uLongf made = blockSize;
            uncompress(data, &made, packed, size);
            return static_cast<std::size_t>(made);
        }};
}

struct Figures
{
    std::vector<double> compressSeconds, decompressSeconds;
    std::size_t packedSize = 0;
};

void Measure(const Codec& codec, const Bytes& data, Figures& figures)
{
    const std::size_t blocks = data.size() / blockSize;
    static Bytes packed;
    static std::vector<std::size_t> sizes;
    packed.resize(blocks * packedRoom);
    sizes.resize(blocks);
    figures.compressSeconds.push_back(bench::ProcessorSeconds(
        [&]
        {
            for (std::size_t i = 0; i < blocks; ++i)
                sizes[i] = codec.compress(&data[i * blockSize], &packed[i * packedRoom]);
        }));
    figures.packedSize = 0;
    for (const std::size_t size : sizes)
        figures.packedSize += size;
    Bytes unpacked(blockSize);
    figures.decompressSeconds.push_back(bench::ProcessorSeconds(
        [&]
        {
            for (std::size_t i = 0; i < blocks; ++i)
                codec.decompress(&packed[i * packedRoom], sizes[i], unpacked.data());
        }));
    if (std::memcmp(unpacked.data(), &data[(blocks - 1) * blockSize], blockSize) != 0)
        std::fprintf(stderr, "%s does not give the data back\n", codec.name), std::exit(2);
}

bool CompareOn(const bench::DataSet& set, const std::vector<Codec>& codecs)
{
    std::vector<Figures> figures(codecs.size());
    for (int i = 0; i < repetitions; ++i)
        for (std::size_t c = 0; c < codecs.size(); ++c)
            Measure(codecs[c], set.bytes, figures[c]);

    const double megabytes = static_cast<double>(set.bytes.size()) / 1e6;
    const auto compressRate = [&](std::size_t c) { return megabytes / bench::MedianOf(figures[c].compressSeconds); };
    const auto decompressRate = [&](std::size_t c)
    { return megabytes / bench::MedianOf(figures[c].decompressSeconds); };
    const auto ratio = [&](std::size_t c) { return megabytes * 1e6 / static_cast<double>(figures[c].packedSize); };
    for (std::size_t c = 0; c < codecs.size(); ++c)
        std::printf("  %-9s %-8s %8.1f MB/s in %8.1f MB/s out, ratio %7.3f\n", set.name.c_str(), codecs[c].name,
            compressRate(c), decompressRate(c), ratio(c));

    const double compressLimit = set.name == "text" ? 0.8 : set.name == "binaries" ? 0.7 : 0.25;
    bool ok = bench::Compare((set.name + ", compress").c_str(), compressRate(0), "lz4", compressRate(1), "MB/s",
        Reach::AtLeast, compressLimit);
    ok &= bench::Compare((set.name + ", decompress").c_str(), decompressRate(0), "lzo1x safe", decompressRate(2),
        "MB/s", Reach::AtLeast, 1.0);
    ok &= bench::Compare((set.name + ", size ratio").c_str(), ratio(0), "lz4", ratio(1), "", Reach::AtLeast, 0.95);
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    const std::size_t size = (argc > 1 ? std::stoul(argv[1]) : 32) << 20;
    lzo_init();
    const std::vector<Codec> codecs = {OurPackets(), Lz4(), Lzo(), Snappy(), Zlib()};
    bool ok = true;
    for (const auto& set : bench::CompressionData(size))
        ok &= CompareOn(set, codecs);
    return ok ? 0 : 1;
}
