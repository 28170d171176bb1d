#include "protocol/HandOver.h"

#include "protocol/CompressedServiceConnection.h"
#include "runtime/text/Errors.h"
#include "streams/StreamFailure.h"

#include <qxmi/internal/IServiceConnectionExW.h>

#include <ios>

namespace qxm
{

namespace
{

/// Throws the first error of a stream that failed. The standard library throws another one when such a stream is used
/// again.
void ThrowFirstError(const std::ios& stream)
{
    if (const auto* failure = dynamic_cast<const qpr::StreamFailure*>(stream.rdbuf()))
        failure->ThrowIfFailed();
}

/// A conversation that has returned is done, whether its servant takes the rest or not.
void SendRest(qxmi::internal::IServiceConnectionExW& connection)
{
    try
    {
        connection.OutputStream().flush();
    }
    catch (const qpr::PeerClosedError&)
    {
    }
}

void Execute(ICallContext& call, qxmi::internal::IServiceConnectionExW& connection)
{
    try
    {
        call.Execute(connection);
        SendRest(connection);
    }
    catch (const std::ios_base::failure&)
    {
        connection.Abandon();
        ThrowFirstError(connection.OutputStream());
        ThrowFirstError(connection.InputStream());
        throw;
    }
    catch (...)
    {
        connection.Abandon();
        throw;
    }
}

void ExecuteCompressed(
    ICallContext& call, qxmi::internal::IServiceConnectionExW& connection, const std::wstring& compressionProtocol)
{
    const auto compressed = CreateCompressedServiceConnection(connection, compressionProtocol);
    if (!compressed)
        throw qpr::RuntimeError(L"Servant requested unsupported compression protocol '" + compressionProtocol + L"'");
    Execute(call, *compressed);
}

} // namespace

bool HandOverConnection(
    ICallContext& call, qxmi::internal::IServiceConnectionExW& connection, const std::wstring& compressionProtocol)
{
    return Attempt(call,
        [&]
        {
            if (compressionProtocol.empty())
                Execute(call, connection);
            else
                ExecuteCompressed(call, connection, compressionProtocol);
            return true;
        });
}

} // namespace qxm
