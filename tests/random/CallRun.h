#pragma once

#include "random/Expectation.h"
#include "random/LoadProbe.h"
#include "random/Places.h"
#include "support/ProgramRun.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Carries out the client's side of one call.
namespace test
{

/// What all calls of a run share.
struct Surroundings
{
    Places places;
    std::wstring distributorPort;
    std::wstring portWithoutServants; ///< of a distributor whose servants are missing
    std::vector<std::string> services;
    std::uint32_t slackMs = 2000; ///< beyond the delays of a plan, on an idle computer
    LoadProbe probe = {};
};

/// How one of the client's calls ended.
struct CallEnd
{
    bool isDone = false;
    bool hasOutput = false;
    std::string output;
    std::string told; ///< what the client says of it
};

struct RunEnd
{
    ProgramEnd program;
    bool isInTime = true;
    std::uint32_t durationMs = 0;
    std::uint32_t processId = 0;
    std::string log; ///< of a call that has it in a file
    std::vector<CallEnd> calls; ///< of a batch or an application
    std::vector<ServantReport> reports;
    bool hasChildWritten = false; ///< one that a servant has left
    std::vector<std::string> leftProcesses; ///< which should have ended
    std::size_t outputFiles = 0; ///< of a batch, hidden ones among them
};

/// The configuration files and programs of one call are named after its service.
RunEnd RunCall(const CallPlan& plan, const std::string& service, const Surroundings& surroundings);

enum class Servants
{
    None,
    Present,
    Missing,
};

/// Writes a client's or distributor's configuration file.
std::wstring WriteConfiguration(
    const Surroundings& surroundings, const std::string& name, const std::wstring& distributorPort, Servants servants);

} // namespace test
