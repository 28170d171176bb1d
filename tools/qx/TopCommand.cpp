#include "tools/qx/Commands.h"

#include "config/LocalHost.h"
#include "runtime/channels/Terminal.h"
#include "runtime/processes/InterruptSignal.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/TopView.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <memory>
#include <optional>
#include <string_view>

namespace
{

constexpr std::uint32_t refreshMs = 1000;
const char keysHelp[] = "q quit   sort by: i process  r running  w pending  p processors  m memory  t table";

struct TopOptions
{
    bool once = false;
    bool json = false;
};

/// The whole terminal behind the standard output, while it lives: a screen of its own, redrawn without flicker. What
/// stood there before comes back at the end. Requires: the standard output is a terminal.
class Screen
{
public:
    Screen() { std::cout << "\x1b[?1049h\x1b[?25l" << std::flush; } // the alternate screen, no cursor
    ~Screen() { std::cout << "\x1b[?25h\x1b[?1049l" << std::flush; }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Lines that do not fit are cut; the last one stands at the bottom.
    void Draw(const std::vector<std::string>& lines, const std::string& bottomLine)
    {
        const char home[] = "\x1b[H";
        const char clearToLineEnd[] = "\x1b[K";
        const char clearBelow[] = "\x1b[J";
        const qpr::TerminalSize size = qpr::GetTerminalSize();
        std::string picture = home;
        for (std::size_t row = 0; row < lines.size() && row + 1 < size.rows; ++row)
            picture += lines[row].substr(0, size.columns) + clearToLineEnd + "\r\n";
        picture += clearBelow;
        picture += "\x1b[" + std::to_string(size.rows) + ";1H" + bottomLine.substr(0, size.columns - 1);
        std::cout << picture << std::flush;
    }
};

qx::HostCapacity ThisComputer()
{
    const qxm::HostDescription host = qxm::DescribeLocalHost(L"client");
    return {host.cpuCount, host.memorySizeInMB};
}

std::optional<qx::TopOrder> OrderOfKey(char key)
{
    constexpr std::string_view keys = "tirwpm"; // in the order of the enumerators
    const std::size_t order = keys.find(key);
    return order == std::string_view::npos ? std::nullopt : std::optional(static_cast<qx::TopOrder>(order));
}

int ShowOnce(bool json)
{
    const qxm::WorkTableView view = qxm::LookAtWorkTable();
    if (json)
    {
        qx::Print(qx::ToJson(view));
        return qx::ExitCode_Done;
    }
    for (const std::string& line : qx::DescribeWorkTable(view, ThisComputer(), qx::TopOrder::Row))
        std::cout << line << '\n';
    return qx::ExitCode_Done;
}

/// Takes the keys that wait; false when one of them ends the show, or the terminal is gone.
bool TakeKeys(qpr::TerminalKeys& keys, qx::TopOrder& order)
{
    std::optional<char> key = keys.ReadKey();
    if (!key)
        return false;
    for (; key; key = keys.ReadKey())
    {
        if (*key == 'q')
            return false;
        order = OrderOfKey(*key).value_or(order);
    }
    return true;
}

/// The figures beside a bar stay visible on a narrow terminal.
unsigned BarWidth(unsigned columns)
{
    constexpr unsigned figures = 34;
    return std::clamp(columns > figures ? columns - figures : 0, 8u, 40u);
}

int ShowLive()
{
    const auto& interrupt = qpr::InterruptSignal::UntilExit();
    const qx::HostCapacity host = ThisComputer();
    qx::TopOrder order = qx::TopOrder::Row;
    qpr::TerminalKeys keys;
    Screen screen;
    const std::array objects = {interrupt.Object(), keys.Object()};
    while (true)
    {
        const unsigned barWidth = BarWidth(qpr::GetTerminalSize().columns);
        screen.Draw(qx::DescribeWorkTable(qxm::LookAtWorkTable(), host, order, barWidth), keysHelp);
        const int signalled = qpr::Thread::TryWaitForAnyObject(objects, L"qx::Top", refreshMs);
        if (signalled == 0)
            throw qx::Interrupted();
        if (signalled == 1 && !TakeKeys(keys, order))
            return qx::ExitCode_Done;
    }
}

int Top(const TopOptions& options)
{
    if (options.once)
        return ShowOnce(options.json);
    if (options.json)
        throw qx::WrongCommandLine("--json needs --once");
    if (!qpr::IsTerminal(qpr::StandardStream::Input) || !qpr::IsTerminal(qpr::StandardStream::Output))
        throw qx::WrongCommandLine("not on a terminal; --once prints the table");
    return ShowLive();
}

} // namespace

void qx::AddTopCommand(Program& program)
{
    const auto options = std::make_shared<TopOptions>();
    CLI::App& command = program.AddCommand("top", "Shows the work of all client processes on this computer, live",
        "qx top --once --json", [options] { return Top(*options); });
    command.add_flag("--once", options->once, "Print the table once");
    command.add_flag("--json", options->json, "With --once: print one JSON document");
}
