#pragma once

#include "Tile.h"

#include <string>
#include <vector>

namespace mandelbrot
{

/// The picture that the tiles are put together to. Tiles that do not overlap may be put in by several threads at once.
class Picture
{
public:
    Picture(unsigned width, unsigned height);

    void Put(const Tile& tile, const std::vector<char>& pixels);

    /// As PNG. Throws std::runtime_error that names the file.
    void Write(const std::string& fileName) const;

private:
    unsigned m_width;
    unsigned m_height;
    std::vector<char> m_pixels;
};

/// Cuts a picture into tiles of at most this side.
std::vector<Tile> CutIntoTiles(unsigned width, unsigned height, unsigned tileSide);

} // namespace mandelbrot
