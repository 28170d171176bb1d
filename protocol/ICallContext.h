#pragma once

#include <exception>
#include <map>
#include <ostream>
#include <string>

namespace qpr
{
class Cancellation;
}

namespace qxmi
{
class IServiceConnectionW;
}

namespace qxm
{

/// What the conversations need of the call that they carry out. Used on the call's thread, the log on one thread at a
/// time.
class ICallContext
{
public:
    virtual ~ICallContext() = default;

    virtual const std::wstring& ServiceName() const = 0;
    virtual const std::map<std::wstring, std::wstring>& Attributes() const = 0;

    /// Joined by every wait of the call's channels.
    virtual const qpr::Cancellation& GetCancellation() const = 0;

    /// The request's own conversation. Anything may leave it.
    virtual void Execute(qxmi::IServiceConnectionW& connection) = 0;

    /// The exception that decides how the call ends; only the first one counts.
    virtual void ReportError(std::exception_ptr error) noexcept = 0;

    virtual std::wostream& Log() = 0;
};

} // namespace qxm
