#pragma once

#include "protocol/MemoryBuffer.h"
#include "runtime/IWriter.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <streambuf>

namespace qpr
{

/// The most bytes that one frame holds, and that one packet may become when it is unpacked.
inline constexpr std::size_t MaxCompressedBlockSize = 0xA00000;

/// Writes compressed bytes as frames, "[<length>|<payload>]". A derived class compresses into the payload room and
/// sends it; a frame goes to the byte stream in one write. Nothing is written in destructors.
class CompressedBlockWriter : public IWriter
{
protected:
    /// The byte stream is not owned and outlives the writer. Its buffer is used without it: a write that throws leaves
    /// the stream as it was.
    explicit CompressedBlockWriter(std::ostream& output)
        : m_output(*output.rdbuf())
    {
    }

    /// Room for at least so many bytes of payload. Its contents survive until the next call with a larger size.
    std::uint8_t* PayloadRoom(std::size_t size);

    /// Sends the first size bytes of the payload room, 1 to MaxCompressedBlockSize, as one frame.
    void SendFrame(std::size_t size);

    void FlushOutput();

private:
    std::streambuf& m_output; // not owned
    MemoryBuffer m_frame; ///< room for the longest frame head, the payload, the end delimiter
};

} // namespace qpr
