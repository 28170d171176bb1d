#include "protocol/HandOver.h"

#include "protocol/CallAttempt.h"
#include "protocol/CompressedServiceConnection.h"
#include "runtime/Errors.h"

#include <qxmi/internal/IServiceConnectionExW.h>

namespace qxm
{

namespace
{

void Execute(ICallContext& call, qxmi::internal::IServiceConnectionExW& connection)
{
    try
    {
        call.Execute(connection);
        connection.OutputStream().flush();
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
