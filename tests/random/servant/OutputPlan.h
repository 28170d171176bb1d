#pragma once

#include "random/Plan.h"

#include <string>
#include <vector>

namespace test
{

/// What a servant that knows nothing of the kit sends at each of its writing steps, in their order: the output as it is
/// or packed and cut into frames of any size, and one of its bits flipped where the plan says so.
std::vector<std::string> MakeOutputPieces(const ServantPlan& plan);

} // namespace test
