#include "tools/qx/Bar.h"

#include <algorithm>
#include <cmath>

std::string qx::Bar(double fraction, unsigned width)
{
    const double bounded = std::isnan(fraction) ? 0 : std::clamp(fraction, 0.0, 1.0);
    const auto filled = static_cast<unsigned>(std::lround(bounded * width));
    return '[' + std::string(filled, '#') + std::string(width - filled, '-') + ']';
}
