#pragma once

#include "streams/ByteStreams.h"

#include <cstddef>
#include <ostream>
#include <qxmi/IServiceRequestW.h>

namespace QxClient
{

/// Hands log characters to a request. What the request throws is ignored: a log never ends a call.
class ServiceRequestLog
{
public:
    explicit ServiceRequestLog(qxmi::IServiceRequestW& request)
        : m_request(request)
    {
    }

    void Write(const wchar_t* text, std::size_t length) noexcept
    {
        try
        {
            m_request.WriteLog(text, length);
        }
        catch (...) // the application's own failure to keep its log
        {
        }
    }
    void Flush() noexcept { }

private:
    qxmi::IServiceRequestW& m_request; // not owned
};

/// A call's log: a wide text stream whose characters go to the request, 1024 at a time and at each flush. Used by one
/// thread at a time.
class RequestLog
{
public:
    explicit RequestLog(qxmi::IServiceRequestW& request)
        : m_writer(request)
        , m_stream(m_writer, bufferSize)
    {
    }

    std::wostream& Stream() noexcept { return m_stream; }

private:
    static constexpr std::size_t bufferSize = 1024; // characters

    ServiceRequestLog m_writer;
    qpr::GenericOutputStream<ServiceRequestLog, wchar_t> m_stream;
};

} // namespace QxClient
