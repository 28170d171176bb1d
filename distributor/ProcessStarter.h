#pragma once

#include "distributor/IServantStarter.h"

namespace qxd
{

/// Starts servants as processes of this computer, in the way that clients start their own.
class ProcessStarter final : public IServantStarter
{
public:
    std::unique_ptr<IServant> Start(const std::vector<std::wstring>& commandLine, std::wostream& log) override;
};

} // namespace qxd
