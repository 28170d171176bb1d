#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

namespace qxmi
{

/// How a servant's process ended.
struct ServantEnd
{
    std::uint32_t exitCode = 0; ///< of a servant that ended by itself
    std::uint32_t signal = 0; ///< the number of the signal that ended it; 0 when it ended by itself
};

/// What a running call gets to talk to its servant: a byte stream in each direction and a few facts about the call.
/// Lives only while IServiceRequestW::Execute runs. One thread may read while another writes.
///
/// The streams throw: a failed read or write ends in an exception, never in a silent error state; the end of the data
/// is the ordinary end of the stream. A stream that failed stays failed: each later use throws the same error again,
/// and there is nothing to clear. When the call is cancelled, reads, writes and waits that are under way end, and all
/// later ones fail at once. Slot order is part of the binary interface.
class IServiceConnectionW
{
public:
    virtual ~IServiceConnectionW() = default;

    /// The servant's data. Ends when the servant closes its output.
    virtual std::istream& InputStream() = 0;

    /// Data for the servant. It is buffered: flush at the end of each request that expects an answer.
    virtual std::ostream& OutputStream() = 0;

    virtual std::wstring GetServiceName() const = 0;

    /// "<host name>/<process id>" of this client, as the servant was told.
    virtual std::wstring GetClientIdentifier() const = 0;

    /// What the servant calls itself in its answer.
    virtual std::wstring GetServantIdentification() const = 0;

    /// True when the servant runs on this computer, started by this process.
    virtual bool IsLocal() const = 0;

    /// Processors that the call may use. Throws std::runtime_error when the call has no such number, as a local call
    /// never has: its servant gets the number on its command line.
    virtual unsigned GetNumberOfProcessorsToUse() const = 0;

    /// True when the data is compressed between client and servant.
    virtual bool IsCompressed() const = 0;

    /// True when a read would not block: data is there, or its end.
    virtual bool InputPending() = 0;

    /// Flushes and ends the servant's input, while its output can still be read. Nothing may be written after it.
    virtual void CloseOutput() = 0;

    /// Ends the servant's input, if CloseOutput has not, and waits without limit of time until the servant has ended; a
    /// cancel ends the wait. Nothing more is read meanwhile: a servant that still has much to write waits for its
    /// reader, so read its data to the end first. What the servant did not take of its input is dropped. Returns false
    /// when it cannot be known how the servant ended; `end` is unchanged then. Throws when the connection to the
    /// distributor broke before it could tell.
    ///
    /// A call whose Execute returns is done, however its servant ends. Call this to make a failed servant an error.
    virtual bool WaitForServantEnd(ServantEnd& end) = 0;
};

} // namespace qxmi
