#include "Fractal.h"

#include <cmath>
#include <stdexcept>

namespace mandelbrot
{

namespace
{

constexpr double escapeRadiusSquared = 256; // large, for smooth colours
constexpr double pi = 3.14159265358979323846;
constexpr unsigned maxPictureSide = 65536;

/// How fast a point escapes, as a smooth number; negative when it does not.
double EscapeTime(double real, double imaginary, unsigned maxIterations)
{
    double x = 0;
    double y = 0;
    for (unsigned iteration = 0; iteration < maxIterations; ++iteration)
    {
        const double xx = x * x;
        const double yy = y * y;
        if (xx + yy > escapeRadiusSquared)
            return iteration + 1 - std::log2(std::log2(xx + yy) / 2);
        y = 2 * x * y + imaginary;
        x = xx - yy + real;
    }
    return -1;
}

unsigned char Wave(double phase)
{
    return static_cast<unsigned char>(std::lround(127.5 * (1 - std::cos(2 * pi * phase))));
}

void AppendColour(double escapeTime, std::vector<unsigned char>& pixels)
{
    if (escapeTime < 0)
    {
        pixels.insert(pixels.end(), {0, 0, 0});
        return;
    }
    const double phase = 0.35 * std::log(1 + std::max(0.0, escapeTime));
    pixels.insert(pixels.end(), {Wave(phase), Wave(phase + 0.08), Wave(phase + 0.22)});
}

void Check(const TileOrder& order)
{
    const auto& [view, tile] = order;
    const bool isPicture = view.pictureWidth > 0 && view.pictureWidth <= maxPictureSide && view.pictureHeight > 0
        && view.pictureHeight <= maxPictureSide;
    const auto liesWithin = [](unsigned start, unsigned size, unsigned whole)
    { return size <= whole && start <= whole - size; };
    if (!isPicture || !liesWithin(tile.left, tile.width, view.pictureWidth)
        || !liesWithin(tile.top, tile.height, view.pictureHeight))
    {
        throw std::runtime_error("the tile does not lie within the picture");
    }
}

} // namespace

std::vector<unsigned char> Render(const TileOrder& order)
{
    Check(order);
    const auto& [view, tile] = order;
    const double step = view.width / view.pictureWidth;
    std::vector<unsigned char> pixels;
    pixels.reserve(tile.ByteCount());
    for (unsigned row = tile.top; row < tile.top + tile.height; ++row)
    {
        const double imaginary = view.centreImaginary - (row + 0.5 - view.pictureHeight / 2.0) * step;
        for (unsigned column = tile.left; column < tile.left + tile.width; ++column)
        {
            const double real = view.centreReal + (column + 0.5 - view.pictureWidth / 2.0) * step;
            AppendColour(EscapeTime(real, imaginary, view.maxIterations), pixels);
        }
    }
    return pixels;
}

} // namespace mandelbrot
