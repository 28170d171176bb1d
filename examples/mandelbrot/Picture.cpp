#include "Picture.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace mandelbrot
{

Picture::Picture(unsigned width, unsigned height)
    : m_width(width)
    , m_height(height)
    , m_pixels(std::size_t(width) * height * bytesPerPixel)
{
}

void Picture::Put(const Tile& tile, const std::vector<char>& pixels)
{
    const std::size_t rowSize = std::size_t(tile.width) * bytesPerPixel;
    for (unsigned row = 0; row < tile.height; ++row)
    {
        const std::size_t target = (std::size_t(tile.top + row) * m_width + tile.left) * bytesPerPixel;
        std::copy_n(&pixels[row * rowSize], rowSize, &m_pixels[target]);
    }
}

void Picture::Write(const std::string& fileName) const
{
    std::ofstream file(fileName, std::ios::binary);
    const auto append = [](void* target, void* data, int size)
    { static_cast<std::ofstream*>(target)->write(static_cast<const char*>(data), size); };
    const bool isEncoded = stbi_write_png_to_func(
        append, &file, int(m_width), int(m_height), bytesPerPixel, m_pixels.data(), int(m_width * bytesPerPixel));
    file.close();
    if (!isEncoded || !file)
        throw std::runtime_error("cannot write '" + fileName + "'");
}

std::vector<Tile> CutIntoTiles(unsigned width, unsigned height, unsigned tileSide)
{
    std::vector<Tile> tiles;
    for (unsigned top = 0; top < height; top += tileSide)
    {
        for (unsigned left = 0; left < width; left += tileSide)
            tiles.push_back({left, top, std::min(tileSide, width - left), std::min(tileSide, height - top)});
    }
    return tiles;
}

} // namespace mandelbrot
