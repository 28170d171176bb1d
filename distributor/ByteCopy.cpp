#include "distributor/ByteCopy.h"

#include "distributor/IServantStarter.h"
#include "runtime/text/Errors.h"

#include <exception>
#include <memory>

namespace qxd
{
namespace
{

constexpr std::size_t copySize = 65536;

} // namespace

CopyEnd CopyBytes(qpr::IReader& source, qpr::IWriter& target)
{
    const auto buffer = std::make_unique_for_overwrite<char[]>(copySize);
    CopyEnd::Kind failure = CopyEnd::Kind_SourceFailed;
    try
    {
        while (const std::size_t count = source.Read(buffer.get(), copySize))
        {
            failure = CopyEnd::Kind_TargetFailed;
            target.Write(buffer.get(), count);
            failure = CopyEnd::Kind_SourceFailed;
        }
        return {CopyEnd::Kind_EndOfData, {}};
    }
    catch (const std::exception& error)
    {
        return {failure, qpr::ErrorText(error)};
    }
}

void DiscardBytes(qpr::IReader& source)
{
    char buffer[4096];
    try
    {
        while (source.Read(buffer, sizeof buffer) != 0)
        {
        }
    }
    catch (const std::exception&)
    {
    }
}

InputCopier::InputCopier(qpr::Socket& client, IServant& servant, const qpr::Cancellation& cancellation)
    : m_reader(client, cancellation)
    , m_servant(servant)
    , m_thread(*this, "qx input")
{
}

void InputCopier::Run()
{
    const CopyEnd end = CopyBytes(m_reader, m_servant.Input());
    m_servant.CloseInput();
    if (end.kind == CopyEnd::Kind_TargetFailed)
        DiscardBytes(m_reader);
}

} // namespace qxd
