#include "Picture.h"
#include "TileCall.h"

#include <CLI/CLI.hpp>
#include <qxmi/QxClient.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>

// Renders a picture of the Mandelbrot set: cuts it into tiles and has each rendered by a service call of its own.

namespace
{

using namespace mandelbrot;

struct Options
{
    View view;
    unsigned tileSide = 120;
    std::string connector;
    std::string output = "mandelbrot.png";
};

struct ReleaseConnector
{
    void operator()(qxmi::IServiceConnectorW* connector) const { connector->Release(); }
};
using Connector = std::unique_ptr<qxmi::IServiceConnectorW, ReleaseConnector>;

/// A bar on the terminal behind the standard error stream; nothing when there is none. Any thread may advance it.
class ProgressBar
{
public:
    explicit ProgressBar(std::size_t total)
        : m_isTerminal(isatty(STDERR_FILENO) != 0)
        , m_total(total)
    {
    }

    void Advance()
    {
        if (!m_isTerminal)
            return;
        const std::lock_guard lock(m_lock);
        if (m_isCleared)
            return;
        ++m_done;
        const std::size_t filled = m_done * barWidth / m_total;
        std::cerr << "\r[" << std::string(filled, '#') << std::string(barWidth - filled, '-') << "] " << m_done
                  << " of " << m_total << " tiles" << std::flush;
    }

    /// Leaves an empty line for other text.
    void Clear()
    {
        const std::lock_guard lock(m_lock);
        m_isCleared = true;
        if (m_isTerminal)
            std::cerr << "\r\x1b[K" << std::flush;
    }

private:
    static constexpr std::size_t barWidth = 50;

    const bool m_isTerminal;
    const std::size_t m_total;
    std::mutex m_lock;
    std::size_t m_done = 0;
    bool m_isCleared = false;
};

/// As many servants at a time as this computer has processors.
std::string DefaultConnector()
{
    return "<LocalServiceConnector MaxLocalServants=\""
        + std::to_string(std::max(1u, std::thread::hardware_concurrency())) + "\"/>";
}

using TileCalls = std::vector<std::unique_ptr<TileCall>>;

/// Waits for all calls; when one fails, cancels the others and passes the error on.
void WaitForAll(qxmi::IServiceConnectorW& connector, const TileCalls& calls)
try
{
    for (const auto& call : calls)
        call->Wait();
}
catch (...)
{
    std::vector<qxmi::IServiceCall*> all;
    for (const auto& call : calls)
        all.push_back(call->Call());
    connector.CancelServiceCalls(all);
    throw;
}

/// The number of tiles that this computer rendered.
std::size_t RenderTiles(const Options& options, const std::vector<Tile>& tiles, Picture& picture)
{
    const Connector connector(qxmi::CreateServiceConnectorW(options.connector));
    ProgressBar progress(tiles.size());
    TileCalls calls;
    for (const Tile& tile : tiles)
    {
        calls.push_back(
            std::make_unique<TileCall>(TileOrder{options.view, tile}, picture, [&progress] { progress.Advance(); }));
        calls.back()->Start(*connector);
    }
    WaitForAll(*connector, calls);
    progress.Clear();
    return static_cast<std::size_t>(
        std::count_if(calls.begin(), calls.end(), [](const auto& call) { return call->WasLocal(); }));
}

void PrintSummary(const Options& options, std::size_t tiles, std::size_t localTiles, double seconds)
{
    const double pixels = double(options.view.pictureWidth) * options.view.pictureHeight;
    std::cout << options.output << ": " << options.view.pictureWidth << " x " << options.view.pictureHeight
              << " pixels\n"
              << tiles << " calls in " << seconds << " s: " << double(tiles) / seconds << " calls and "
              << pixels / seconds / 1e6 << " million pixels a second\n"
              << localTiles << " of them on this computer, " << tiles - localTiles << " over the network\n";
}

void Render(const Options& options)
{
    const auto start = std::chrono::steady_clock::now();
    const std::vector<Tile> tiles =
        CutIntoTiles(options.view.pictureWidth, options.view.pictureHeight, options.tileSide);
    Picture picture(options.view.pictureWidth, options.view.pictureHeight);
    const std::size_t localTiles = RenderTiles(options, tiles, picture);
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    picture.Write(options.output);
    PrintSummary(options, tiles.size(), localTiles, duration.count());
}

void AddOptions(CLI::App& commandLine, Options& options)
{
    const auto side = CLI::Range(1u, 65536u).description("");
    commandLine.add_option("--width", options.view.pictureWidth, "Pixels across")->check(side)->capture_default_str();
    commandLine.add_option("--height", options.view.pictureHeight, "Pixels down")->check(side)->capture_default_str();
    commandLine.add_option("--tile", options.tileSide, "Side of a tile in pixels")->check(side)->capture_default_str();
    commandLine.add_option("--real", options.view.centreReal, "Centre of the view")->capture_default_str();
    commandLine.add_option("--imaginary", options.view.centreImaginary, "Centre of the view")->capture_default_str();
    commandLine.add_option("--span", options.view.width, "Width of the view")->capture_default_str();
    commandLine.add_option("--iterations", options.view.maxIterations, "How long a point is followed")
        ->check(CLI::Range(1u, 10000000u).description(""))
        ->capture_default_str();
    commandLine.add_option("--connector", options.connector, "Connector configuration")->capture_default_str();
    commandLine.add_option("output", options.output, "The picture's file")->capture_default_str();
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    options.connector = DefaultConnector();
    CLI::App commandLine("Renders a picture of the Mandelbrot set, with one service call per tile.");
    AddOptions(commandLine, options);
    CLI11_PARSE(commandLine, argc, argv);
    try
    {
        Render(options);
        return 0;
    }
    catch (const std::exception& error)
    {
        std::cerr << "mandelbrot: " << error.what() << '\n';
        return 1;
    }
}
