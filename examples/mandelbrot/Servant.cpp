#include "Fractal.h"

#include <qxservant/Servant.h>

#include <stdexcept>

namespace
{

int RenderTile(qxservant::Connection& connection)
{
    mandelbrot::TileOrder order;
    if (!(connection.Input() >> order))
        throw std::runtime_error("this is not the order of a tile");
    const std::vector<unsigned char> pixels = mandelbrot::Render(order);
    connection.Output().write(
        reinterpret_cast<const char*>(pixels.data()), static_cast<std::streamsize>(pixels.size()));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    return qxservant::Run(argc, argv, {{L"Mandelbrot", RenderTile}});
}
