#include "random/servant/OutputPlan.h"

#include "random/Random.h"
#include "streams/compression/QuickLz.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

namespace test
{

namespace
{

/// Cuts data into frames; what is in a frame is the caller's business.
class Packer
{
public:
    explicit Packer(const ServantPlan& plan)
        : m_form(plan.form)
        , m_frameSize(plan.frameSize)
        , m_random(plan.output.seed)
    {
        if (deflateInit2(&m_deflate, 1, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::runtime_error("deflateInit2");
    }
    Packer(const Packer&) = delete;
    Packer& operator=(const Packer&) = delete;
    ~Packer() { deflateEnd(&m_deflate); }

    std::string Pack(std::string_view data)
    {
        if (m_form == Form::Plain)
            return std::string(data);
        const std::string deflated = m_form == Form::Deflate ? Deflate(data) : "";
        std::string_view left = m_form == Form::Deflate ? deflated : data;
        std::string frames;
        while (!left.empty())
        {
            const std::size_t size = std::min(m_random.Between(1, m_frameSize), left.size());
            const std::string payload(left.substr(0, size));
            frames += Frame(m_form == Form::Deflate ? payload : Packet(payload));
            left.remove_prefix(size);
        }
        return frames;
    }

private:
    static std::string Frame(const std::string& payload)
    {
        return "[" + std::to_string(payload.size()) + "|" + payload + "]";
    }

    std::string Packet(const std::string& data)
    {
        std::string packet(qpr::quicklz::Compressor::PacketRoom(data.size()), '\0');
        packet.resize(m_quickLz.Compress(reinterpret_cast<const std::uint8_t*>(data.data()), data.size(),
            reinterpret_cast<std::uint8_t*>(packet.data())));
        return packet;
    }

    std::string Deflate(std::string_view data)
    {
        if (data.empty())
            return {};
        std::string packed(deflateBound(&m_deflate, static_cast<uLong>(data.size())) + 100, '\0');
        m_deflate.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
        m_deflate.avail_in = static_cast<uInt>(data.size());
        m_deflate.next_out = reinterpret_cast<Bytef*>(packed.data());
        m_deflate.avail_out = static_cast<uInt>(packed.size());
        deflate(&m_deflate, Z_SYNC_FLUSH);
        packed.resize(packed.size() - m_deflate.avail_out);
        return packed;
    }

    const Form m_form;
    const std::size_t m_frameSize;
    Random m_random;
    z_stream m_deflate = {};
    qpr::quicklz::Compressor m_quickLz;
};

void FlipBit(std::vector<std::string>& pieces, unsigned thousandths)
{
    std::size_t total = 0;
    for (const std::string& piece : pieces)
        total += piece.size();
    std::size_t position = total * thousandths / 1000;
    for (std::string& piece : pieces)
    {
        if (position < piece.size())
        {
            piece[position] = static_cast<char>(piece[position] ^ (1 << thousandths % 8));
            return;
        }
        position -= piece.size();
    }
}

} // namespace

std::vector<std::string> MakeOutputPieces(const ServantPlan& plan)
{
    const std::string output = MakePayload(plan.output);
    Packer packer(plan);
    std::vector<std::string> pieces;
    std::size_t position = 0;
    for (const Step& step : plan.steps)
    {
        if (step.kind == Step::Kind::HalfFrame)
            pieces.push_back("[1000|half a frame");
        if (step.kind != Step::Kind::Write)
            continue;
        pieces.push_back(packer.Pack(std::string_view(output).substr(position, step.amount)));
        position += step.amount;
    }
    if (plan.flippedBit)
        FlipBit(pieces, *plan.flippedBit);
    return pieces;
}

} // namespace test
