#pragma once

#include "random/CallRun.h"

#include <string>
#include <vector>

namespace test
{

/// The promises that a call has broken; none when all was kept.
std::vector<std::string> BrokenPromises(const CallPlan& plan, const RunEnd& end);

} // namespace test
