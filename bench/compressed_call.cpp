// What 256 MiB each way take through a call whose servant asks for compression, beside what would bound it at best: the
// slower one of packing and unpacking in memory and of the pipe (the same call without compression),
// since packing and unpacking are done at the same time by two processes. Argument: exchanges of each kind (3).

#include "bench/CompressedExchange.h"
#include "bench/CompressionData.h"
#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "client/ServiceConnectors.h"
#include "streams/ByteStreams.h"
#include "streams/compression/BlockedQLZ14.h"
#include "streams/compression/BlockedRawDeflate.h"

#include <qxmi/IServiceConnectionW.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace bench::exchange;
using bench::Bytes;

/// MB/s, of the volume each way.
double RateOf(double seconds, double bytes)
{
    return bytes / 1e6 / seconds;
}

/// Keeps what is written, and gives it back.
class Memory
{
public:
    Memory()
    {
        m_bytes.resize(2 * sampleSize); // so that its pages are there
        m_bytes.clear();
    }

    void Write(const void* data, std::size_t size)
    {
        const auto* const start = static_cast<const std::uint8_t*>(data);
        m_bytes.insert(m_bytes.end(), start, start + size);
    }
    void Flush() { }

    std::size_t Read(void* target, std::size_t size)
    {
        const std::size_t taken = std::min(size, m_bytes.size() - m_next);
        std::memcpy(target, m_bytes.data() + m_next, taken);
        m_next += taken;
        return taken;
    }
    bool InputPending() { return true; }

private:
    Bytes m_bytes;
    std::size_t m_next = 0;
};

template <class Writer>
void Pack(const Bytes& sample, Memory& packed)
{
    qpr::GenericOutputStream<Memory> output(packed, pieceSize);
    Writer writer(output);
    for (std::size_t done = 0; done < sample.size(); done += pieceSize)
        writer.Write(&sample[done], pieceSize);
    writer.Flush();
}

template <class Reader>
void Unpack(Memory& packed)
{
    qpr::GenericInputStream<Memory> input(packed, pieceSize);
    Reader reader(input);
    Bytes piece(pieceSize);
    while (reader.Read(piece.data(), piece.size()) != 0)
        continue;
}

/// The slower one of packing and unpacking the sample, in MB/s: at the same time, as in a call, since processors that
/// work at once slow each other on many a computer.
template <class Writer, class Reader>
double CodecRate(const Bytes& sample)
{
    Memory packed;
    Pack<Writer>(sample, packed);
    Memory packedAgain;
    double unpacking = 0;
    std::thread unpacker([&] { unpacking = bench::WallSeconds([&] { Unpack<Reader>(packed); }); });
    const double packing = bench::WallSeconds([&] { Pack<Writer>(sample, packedAgain); });
    unpacker.join();
    return RateOf(std::max(packing, unpacking), static_cast<double>(sample.size()));
}

/// Of both ways together.
double CallRate(qxmi::IServiceConnectorW& connector, const std::wstring& protocol, const Bytes& sample)
{
    double seconds = 0;
    bool isWhole = true;
    const auto exchange = [&](qxmi::IServiceConnectionW& connection)
    {
        std::vector<char> piece(pieceSize);
        for (std::size_t done = 0; done < volume; done += pieceSize)
            connection.OutputStream().write(reinterpret_cast<const char*>(&sample[done % sampleSize]), pieceSize);
        connection.OutputStream().flush();
        for (std::size_t done = 0; done < volume; done += pieceSize)
        {
            connection.InputStream().read(piece.data(), pieceSize);
            isWhole = isWhole && std::memcmp(piece.data(), &sample[done % sampleSize], pieceSize) == 0;
        }
    };
    bench::Request request(protocol,
        [&](qxmi::IServiceConnectionW& connection) { seconds = bench::WallSeconds([&] { exchange(connection); }); });
    bench::CallPtr(connector.CreateServiceCall(request))->Wait();
    if (!isWhole)
        std::fprintf(stderr, "data lost\n"), std::exit(2);
    return RateOf(seconds, 2.0 * static_cast<double>(volume));
}

template <class Writer, class Reader>
bool CompareProtocol(
    qxmi::IServiceConnectorW& connector, const std::wstring& protocol, const bench::DataSet& set, int turns)
{
    std::vector<double> calls, codecs, pipes;
    for (int turn = 0; turn < turns; ++turn)
    {
        codecs.push_back(CodecRate<Writer, Reader>(set.bytes));
        calls.push_back(CallRate(connector, protocol, set.bytes));
        pipes.push_back(CallRate(connector, L"Plain", set.bytes));
    }
    const double codec = bench::MedianOf(codecs);
    const double pipe = bench::MedianOf(pipes);
    const std::string what = std::string(protocol.begin(), protocol.end()) + ", " + set.name;
    return bench::Compare(what.c_str(), bench::MedianOf(calls), codec < pipe ? "codec alone" : "pipe alone",
        std::min(codec, pipe), "MB/s", bench::Reach::AtLeast, 0.85);
}

} // namespace

int main(int argc, char** argv)
{
    const int turns = argc > 1 ? std::atoi(argv[1]) : 3;
    const bench::Installation installation("bench_compressed_servant", {"Plain", "BlockedRawDeflate", "BlockedQLZ14"});
    const bench::ConnectorPtr connector = installation.MakeConnector<QxClient::LocalServiceConnector>();
    bool ok = true;
    for (const bench::DataSet& set : bench::CompressionData(sampleSize))
    {
        if (set.name == "noise")
            continue;
        ok &= CompareProtocol<qpr::BlockedRawDeflateWriter, qpr::BlockedRawDeflateReader>(
            *connector, L"BlockedRawDeflate", set, turns);
        ok &=
            CompareProtocol<qpr::BlockedQLZ14Writer, qpr::BlockedQLZ14Reader>(*connector, L"BlockedQLZ14", set, turns);
    }
    return ok ? 0 : 1;
}
