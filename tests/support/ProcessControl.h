#pragma once

#include <cstdint>

/// What a test does to a program from outside.
namespace test
{

/// As the keyboard does.
void InterruptProcess(std::uint32_t processId);

/// Nothing runs in a stalled one.
void SetStalled(std::uint32_t processId, bool isStalled);

/// Whether the connections of a killed process are reset, so that its peers cannot take what they have for everything.
/// Wine ends them in good order, and now and then leaves one open.
bool KillResetsConnections();

} // namespace test
