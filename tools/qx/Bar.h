#pragma once

#include <string>

namespace qx
{

/// "[#####-----]" for a fraction, which is taken within 0 and 1; one that is no number counts as 0.
std::string Bar(double fraction, unsigned width);

} // namespace qx
