#include "TileCall.h"

#include <filesystem>
#include <stdexcept>

namespace mandelbrot
{

TileCall::TileCall(const TileOrder& order, Picture& picture, std::function<void()> onEnded)
    : m_order(order)
    , m_picture(picture)
    , m_onEnded(std::move(onEnded))
{
}

TileCall::~TileCall() = default;

void TileCall::Start(qxmi::IServiceConnectorW& connector)
{
    m_call.reset(connector.CreateServiceCall(*this));
}

void TileCall::Wait()
{
    m_call->Wait();
    if (m_problem.empty())
        return;
    std::string text =
        "tile at " + std::to_string(m_order.tile.left) + ", " + std::to_string(m_order.tile.top) + ": " + m_problem;
    if (!m_log.empty())
    {
        const std::u8string log = std::filesystem::path(m_log).u8string();
        text += "\nIts log: " + std::string(log.begin(), log.end());
    }
    throw std::runtime_error(text);
}

void TileCall::GetServiceRequestAttributes(std::map<std::wstring, std::wstring>& attributes)
{
    // For the formulas in the configuration that say what a call will need.
    attributes[L"Pixels"] = std::to_wstring(m_order.tile.width * m_order.tile.height);
    attributes[L"Iterations"] = std::to_wstring(m_order.view.maxIterations);
}

void TileCall::Execute(qxmi::IServiceConnectionW& connection)
{
    connection.OutputStream() << m_order;
    connection.CloseOutput();

    std::vector<char> pixels(m_order.tile.ByteCount());
    if (!connection.InputStream().read(pixels.data(), static_cast<std::streamsize>(pixels.size())))
        throw std::runtime_error("the servant sent only a part of the tile");
    m_picture.Put(m_order.tile, pixels);
    m_wasLocal = connection.IsLocal();
    m_onEnded();
}

void TileCall::Fail(const std::string& problem)
{
    m_problem = problem;
    m_onEnded();
}

} // namespace mandelbrot
