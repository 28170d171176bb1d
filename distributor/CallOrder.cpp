#include "distributor/CallOrder.h"

#include "protocol/ServantCommandLine.h"

namespace qxd
{

std::vector<std::wstring> CallOrder::ServantCommandLine() const
{
    constexpr bool isLocal = false;
    return qxm::BuildExecuteCommandLine(
        *service.info, clientIdentifier, isLocal, expectedUsage.numberOfProcessorsToUse, service.compressionMode);
}

} // namespace qxd
