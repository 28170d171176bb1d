#pragma once

#include <cstddef>
#include <exception>
#include <map>
#include <string>

namespace qxmi
{

class IServiceConnectionW;

/// What the application wants done, and where it hears of it. Implemented by the application, which owns it and keeps
/// it alive until the call has ended.
///
/// A call ends in exactly one of three ways: Execute returned, OnError once, or OnCancelled once. GetServiceName and
/// GetServiceRequestAttributes are called inside CreateServiceCall. The notifications may come on any thread and while
/// the connector holds its lock: they must not call back into the library. An exception that leaves a notification is
/// ignored. Slot order is part of the binary interface.
class IServiceRequestW
{
public:
    virtual ~IServiceRequestW() = default;

    /// Names the service, exactly as configured.
    virtual void GetServiceName(std::wstring& name) = 0;

    /// Fills in the attributes that the service's formulas and the distributor see. White space around a key or value
    /// is removed; CreateServiceCall throws for one that is then empty, or holds white space or a double quote.
    virtual void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>& attributes) = 0;

    /// The call's own conversation with its servant, on the call's thread (on Linux one with all signals blocked, which
    /// threads and processes that are started there inherit). An exception that leaves it is the call's
    /// error. Returning is success: what is still buffered for the servant is then sent. Cancelling makes the
    /// connection's operations throw something that is no std::exception on this thread; let it pass.
    virtual void Execute(IServiceConnectionW& connection) = 0;

    /// The call was cancelled.
    virtual void OnCancelled() = 0;

    /// The call failed. what() is UTF-8.
    virtual void OnError(const std::exception& error) = 0;

    /// A piece of the call's log: the connector's decisions, what the servant writes to its standard error stream.
    /// Comes in order, one piece at a time, from a thread of its own while Execute runs.
    virtual void WriteLog(const wchar_t* text, std::size_t length) = 0;
};

} // namespace qxmi
