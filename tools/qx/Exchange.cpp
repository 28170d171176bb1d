#include "tools/qx/Exchange.h"

#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"

#include <qxmi/internal/IServiceConnectionExW.h>

#include <exception>
#include <vector>

namespace qx
{

namespace
{

constexpr std::size_t pieceSize = 256 * 1024;

} // namespace

/// The input's way to the servant, on a thread of its own. An input that fails ends the servant's input; the error is
/// kept until the servant has ended.
class Exchange::InputCopy final : public qpr::IRunnable
{
public:
    InputCopy(Exchange& exchange, qxmi::internal::IServiceConnectionExW& connection)
        : m_exchange(exchange)
        , m_connection(connection)
    {
    }
    InputCopy(const InputCopy&) = delete;
    InputCopy& operator=(const InputCopy&) = delete;
    ~InputCopy() override { m_connection.Abandon(); } // what could not be sent is nobody's error

    void Run() override
    {
        std::vector<char> piece(pieceSize);
        while (const std::size_t size = ReadInput(piece))
        {
            std::ostream& servant = m_connection.OutputStream();
            servant.write(piece.data(), static_cast<std::streamsize>(size));
            m_exchange.m_bytesIn += size;
            if (!m_exchange.m_input.InputPending())
                servant.flush();
        }
        m_connection.CloseOutput();
    }

    /// The servant takes no more, or the call was cancelled: its output will tell.
    void HandleError(const std::exception&) override { m_connection.Abandon(); }

    void ThrowIfInputFailed() const
    {
        if (m_inputError)
            std::rethrow_exception(m_inputError);
    }

private:
    std::size_t ReadInput(std::vector<char>& piece)
    {
        try
        {
            return m_exchange.m_input.Read(piece.data(), piece.size());
        }
        catch (const std::exception&)
        {
            m_inputError = std::current_exception();
            return 0;
        }
    }

    Exchange& m_exchange;
    qxmi::internal::IServiceConnectionExW& m_connection;
    std::exception_ptr m_inputError; // read after the thread's end
};

void Exchange::Run(qxmi::IServiceConnectionW& connection)
{
    auto& servant = dynamic_cast<qxmi::internal::IServiceConnectionExW&>(connection);
    InputCopy inputCopy(*this, servant);
    {
        // Interrupted where it waits for input that nobody takes any more.
        const qpr::Thread inputThread(inputCopy, "qx input");
        CopyOutput(servant);
        qxmi::ServantEnd end;
        servant.AwaitServantEnd(end); // which may still take input
    }
    inputCopy.ThrowIfInputFailed();
}

void Exchange::CopyOutput(qxmi::IServiceConnectionW& connection)
{
    std::istream& servant = connection.InputStream();
    std::vector<char> piece(pieceSize);
    while (servant.peek() != std::istream::traits_type::eof())
    {
        const std::streamsize size = servant.readsome(piece.data(), pieceSize);
        m_output.Write(piece.data(), static_cast<std::size_t>(size));
        m_bytesOut += static_cast<std::uint64_t>(size);
    }
}

} // namespace qx
