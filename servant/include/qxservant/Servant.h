#pragma once

#include <qxservant/QxServantExport.h>

#include <functional>
#include <initializer_list>
#include <istream>
#include <ostream>
#include <string>

/// A small kit to write servants with. A servant is a program that carries out one call and ends. The author writes one
/// function per service, and a main of three lines:
///
///     int Count(qxservant::Connection& connection)
///     {
///         std::string word;
///         int words = 0;
///         while (connection.Input() >> word)
///             ++words;
///         connection.Output() << words << '\n';
///         return 0;
///     }
///
///     int main(int argc, char** argv)
///     {
///         return qxservant::Run(argc, argv, {{L"Count", Count}});
///     }
namespace qxservant
{

/// What a service's function gets: the data in both directions and what the servant was told of its call. The streams
/// throw when their channel fails. One thread may read while another writes.
class Connection
{
public:
    virtual ~Connection() = default;

    /// The call's data, up to the end that the caller makes.
    virtual std::istream& Input() = 0;

    /// Data for the call. It is buffered: flush where the caller waits for an answer. What is left is sent when the
    /// function returns.
    virtual std::ostream& Output() = 0;

    /// Text for the call's log, in UTF-8. Not buffered.
    virtual std::ostream& Log() = 0;

    virtual const std::wstring& ServiceName() const = 0;

    /// Whose call it is, "<host name>/<process id>"; empty when not told.
    virtual std::wstring ClientIdentifier() const = 0;

    /// True when the client runs on this computer and started this servant itself.
    virtual bool IsLocal() const = 0;

    /// How many processors the servant may use; 0 when not told or when it does not matter.
    virtual unsigned NumberOfProcessorsToUse() const = 0;

    /// Any named argument of the servant's command line; empty when there is none of that name.
    virtual std::wstring Argument(const std::wstring& name) const = 0;
};

/// Carries one call out. What it returns is the servant's exit code; an exception is written to the log and makes it 1.
using ServiceFunction = std::function<int(Connection&)>;

struct Service
{
    std::wstring name;
    ServiceFunction function;

    /// "BlockedRawDeflate" or "BlockedQLZ14" to compress whatever the command line asks for; empty: as it asks.
    std::wstring compressionProtocol = {};
};

/// Carries out the call that the command line describes and returns the process's exit code: the function's, 1 for a
/// failure, 2 for a command line that asks for no service of this servant; both are explained on the standard error
/// stream. While it runs, a thread watches the client: when the client is gone, or has closed the output and
/// waited a moment for the servant to end, the process ends with 3, however busy it is. To be called once, from main.
QXSERVANT_EXPORT int Run(int argc, char** argv, std::initializer_list<Service> services);

} // namespace qxservant
