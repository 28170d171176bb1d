#include "tools/qx/Commands.h"

#include "config/LocalHost.h"
#include "runtime/channels/Terminal.h"
#include "runtime/processes/InterruptSignal.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"
#include "tools/qx/Screen.h"
#include "tools/qx/TopView.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <memory>
#include <optional>

namespace
{

constexpr std::uint32_t refreshMs = 1000;
const char keysHelp[] = "q quit   sort by: i process  r running  w pending  p processors  m memory  t table";

struct TopOptions
{
    bool once = false;
    bool json = false;
};

qx::HostCapacity ThisComputer()
{
    const qxm::HostDescription host = qxm::DescribeLocalHost(L"client");
    return {host.cpuCount, host.memorySizeInMB};
}

std::optional<qx::TopOrder> OrderOfKey(char key)
{
    switch (key)
    {
    case 't':
        return qx::TopOrder::Row;
    case 'i':
        return qx::TopOrder::Process;
    case 'r':
        return qx::TopOrder::Running;
    case 'w':
        return qx::TopOrder::Pending;
    case 'p':
        return qx::TopOrder::Processors;
    case 'm':
        return qx::TopOrder::Memory;
    default:
        return std::nullopt;
    }
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
    qx::Screen screen;
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
    CLI::App& command = program.AddCommand("top", "Shows the work of all client processes of this computer, live",
        "qx top --once --json", [options] { return Top(*options); });
    command.add_flag("--once", options->once, "Print the table once");
    command.add_flag("--json", options->json, "With --once: print one JSON document");
}
