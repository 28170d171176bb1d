#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"
#include "runtime/threads/ThreadEvent.h"

#include <atomic>
#include <cstdint>

namespace qxmi
{
class IServiceConnectionW;
}

namespace qx
{

/// A call's conversation as a pipe: the input goes to the servant, its data to the output, both at once and as they
/// come, so that neither side waits for the other. Used for one call; the byte counts may be read by any thread.
class Exchange
{
public:
    /// Neither is owned. The input's reads can be interrupted or never last long.
    Exchange(qpr::IReader& input, qpr::IWriter& output)
        : m_input(input)
        , m_output(output)
    {
    }

    /// For IServiceRequestW::Execute. Returns when the servant has ended its output and has ended itself; until then it
    /// gets the input, and one that takes no more of it is no error. Throws what reading the input, writing the output
    /// or reading from the servant throws.
    void Run(qxmi::IServiceConnectionW& connection);

    std::uint64_t BytesIn() const noexcept { return m_bytesIn; }
    std::uint64_t BytesOut() const noexcept { return m_bytesOut; }

private:
    class InputCopy;
    void CopyOutput(qxmi::IServiceConnectionW& connection);

    qpr::IReader& m_input;
    qpr::IWriter& m_output;
    std::atomic<std::uint64_t> m_bytesIn = 0;
    std::atomic<std::uint64_t> m_bytesOut = 0;
};

} // namespace qx
