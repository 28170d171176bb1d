#include "distributor/ByteCopy.h"

#include <exception>
#include <memory>

namespace qxd
{
namespace
{

constexpr std::size_t bufferSize = 65536;

} // namespace

CopyEnd CopyBytes(qpr::IReader& source, qpr::IWriter& target)
{
    const auto buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    CopyEnd failure = CopyEnd::SourceFailed;
    try
    {
        while (const std::size_t count = source.Read(buffer.get(), bufferSize))
        {
            failure = CopyEnd::TargetFailed;
            target.Write(buffer.get(), count);
            failure = CopyEnd::SourceFailed;
        }
        return CopyEnd::EndOfData;
    }
    catch (const std::exception&)
    {
        return failure;
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
