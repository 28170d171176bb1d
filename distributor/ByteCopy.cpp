#include "distributor/ByteCopy.h"

#include "runtime/Errors.h"

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

} // namespace qxd
