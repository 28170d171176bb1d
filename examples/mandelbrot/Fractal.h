#pragma once

#include "Tile.h"

#include <vector>

namespace mandelbrot
{

/// The pixels of a tile. Throws std::runtime_error for a tile that does not lie within the picture.
std::vector<unsigned char> Render(const TileOrder& order);

} // namespace mandelbrot
