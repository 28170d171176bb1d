#pragma once

#include <cstdint>
#include <istream>
#include <ostream>

/// What renderer and servant tell each other: the renderer writes the view and one tile of the picture in a line, the
/// servant answers with the tile's pixels, row by row.
namespace mandelbrot
{

constexpr unsigned bytesPerPixel = 3; // red, green, blue

/// The part of the complex plane that the whole picture shows, and how long a point is followed.
struct View
{
    unsigned pictureWidth = 1920;
    unsigned pictureHeight = 1080;
    double centreReal = -0.743643887037151;
    double centreImaginary = 0.131825904205330;
    double width = 0.012; ///< of the picture, in the plane's units
    unsigned maxIterations = 2000;
};

/// A rectangle of the picture, in pixels from its upper left corner.
struct Tile
{
    unsigned left = 0;
    unsigned top = 0;
    unsigned width = 0;
    unsigned height = 0;

    std::size_t ByteCount() const { return std::size_t(width) * height * bytesPerPixel; }
};

struct TileOrder
{
    View view;
    Tile tile;
};

inline std::ostream& operator<<(std::ostream& stream, const TileOrder& order)
{
    const auto& [view, tile] = order;
    stream.precision(17);
    return stream << view.pictureWidth << ' ' << view.pictureHeight << ' ' << view.centreReal << ' '
                  << view.centreImaginary << ' ' << view.width << ' ' << view.maxIterations << ' ' << tile.left << ' '
                  << tile.top << ' ' << tile.width << ' ' << tile.height << '\n';
}

inline std::istream& operator>>(std::istream& stream, TileOrder& order)
{
    auto& [view, tile] = order;
    return stream >> view.pictureWidth >> view.pictureHeight >> view.centreReal >> view.centreImaginary >> view.width
        >> view.maxIterations >> tile.left >> tile.top >> tile.width >> tile.height;
}

} // namespace mandelbrot
