#pragma once

#include "expr/ParseError.h"

#include <string>

namespace qx
{

/// The formula's line that the error is in and below it a caret at the error's position, in UTF-8 and without a last
/// line end. A line of more columns is cut to what stands around the error. Each character is taken as one wide.
std::string PointAtError(const qexpr::ParseError& error, std::size_t columns);

} // namespace qx
