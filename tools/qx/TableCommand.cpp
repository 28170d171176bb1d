#include "tools/qx/Commands.h"

#include "runtime/named/NamedObject.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Json.h"
#include "tools/qx/Program.h"
#include "worktable/WorkTableView.h"

#include <iostream>
#include <memory>
#include <stdexcept>

namespace
{

struct TableOptions
{
    bool create = false;
    bool json = false;
};

/// The computer's table stays when this program has ended, with all that processes of other users may not make.
void MakeGlobalTable()
{
    if (!qpr::NamedObjectsOutliveTheirUsers())
        throw std::runtime_error("a work table lasts only while a process uses it on this system: a service that calls "
                                 "the library has to make the one that all users share");
    try
    {
        qxm::WorkTable(qxm::WorkTable::ScopeMode_CreateGlobal);
    }
    catch (const qpr::RuntimeError& error)
    {
        throw std::runtime_error(std::string("cannot make the work table that all users share: ") + error.what());
    }
}

qx::Json ToJson(const qxm::WorkTablePlace& place)
{
    qx::Json obstacles = qx::Json::array();
    for (const std::wstring& obstacle : place.obstacles)
        obstacles.push_back(qx::ToJson(obstacle));
    return {{"scope", place.isGlobal ? "Global" : "Local"}, {"location", qx::ToJson(place.location)},
        {"exists", place.exists}, {"owner", place.owner.empty() ? qx::Json() : qx::ToJson(place.owner)},
        {"obstacles", obstacles}};
}

void Describe(const qxm::WorkTablePlace& place)
{
    std::cout << (place.isGlobal ? "Global work table (all users of this computer): "
                                 : "Local work table (this user's own): ")
              << qpr::ToUtf8(place.location) << '\n';
    if (!place.owner.empty())
        std::cout << "Owner: " << qpr::ToUtf8(place.owner) << '\n';
    if (!place.exists && place.obstacles.empty())
        std::cout << "The first process that needs it will create it\n";
    for (const std::wstring& obstacle : place.obstacles)
        std::cout << "Obstacle: " << qpr::ToUtf8(obstacle) << '\n';
}

int ShowTable(const TableOptions& options)
{
    if (options.create)
        MakeGlobalTable();
    const qxm::WorkTablePlace place = qxm::LocateWorkTable();
    if (options.json)
        qx::Print(ToJson(place));
    else
        Describe(place);
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddTableCommand(Program& program)
{
    const auto options = std::make_shared<TableOptions>();
    CLI::App& command =
        program.AddCommand("table", "Shows which work table your processes share, and what prevents its use",
            "qx table --json", [options] { return ShowTable(*options); });
    command.add_flag("--create", options->create, "As root: create the table that all users of this computer share");
    command.add_flag("--json", options->json, "Print one JSON document");
}
