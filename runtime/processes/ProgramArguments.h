#pragma once

#include <string>
#include <vector>

namespace qpr
{

/// The arguments that main was given, the program's name first, in UTF-8 on every system; as they came where the system
/// does not say what they are encoded in.
std::vector<std::string> ProgramArguments(int argc, char** argv);

/// A program calls it before it starts others: a parent that ignores SIGCHLD hands that on, and the system then keeps
/// no child's exit code for us.
void ResetInheritedSignals() noexcept;

} // namespace qpr
