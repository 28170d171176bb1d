#pragma once

#include "config/Configuration.h"
#include "tools/qx/Json.h"

/// A configuration as the commands show it.
namespace qx
{

/// {"services": [...], "distributor": {...}}
Json ToJson(const qxm::Configuration& configuration);
Json ToJson(const qxm::DistributorSettings& distributor);

/// For people, on the standard output.
void PrintServices(const qxm::ServicesMap& services);
void PrintDistributor(const qxm::DistributorSettings& distributor);

} // namespace qx
