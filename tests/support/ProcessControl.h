#pragma once

#include <cstdint>

/// What a test does to a program from outside.
namespace test
{

/// As the keyboard does.
void InterruptProcess(std::uint32_t processId);

/// Nothing runs in a stalled one.
void SetStalled(std::uint32_t processId, bool isStalled);

/// Whether a peer can tell the death of a killed process from the end of its data. Wine hides the difference.
bool KillResetsConnections();

} // namespace test
