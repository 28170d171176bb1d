#pragma once

#include <optional>
#include <string>
#include <vector>

/// A test program that needs real processes starts itself again: bodies of children are registered by name, and the
/// program started with "--child NAME ARGUMENT..." runs that body instead of the tests and exits with what it returns.
/// Started as servants are, with "execute SERVICE ARGUMENT...", it runs the body named "execute".
namespace test
{

using ChildBody = int (*)(const std::vector<std::string>& arguments);

/// Registers a body; make one static object per body.
struct ChildRegistration
{
    ChildRegistration(const char* name, ChildBody body);
};

/// Main calls it first: runs a body when the program was started for one, and returns its exit code. The words are the
/// program's arguments, its name first.
std::optional<int> RunAsChild(const std::vector<std::string>& words);

/// Path of the running test program.
std::string OwnPath();

} // namespace test
