#pragma once

#include <string>
#include <vector>

/// What a program can do to itself that no runtime offers.
namespace test
{

/// Whether LeaveChild works here.
extern const bool canLeaveChildren;

/// Ends this process as the signal does, without a core file; where there are no signals, with 128 + its number.
[[noreturn]] void EndBySignal(int signal);

struct ChildToLeave
{
    std::vector<std::string> command; ///< the program first
    bool isInGroup = true; ///< of this process; else in a session of its own
    bool holdsOutput = false;
    bool holdsLog = false;
};

/// For such a child: returns when its parent has ended.
void WaitForParentEnd();

/// Starts a child that goes on when this process ends. It never holds this process's input.
void LeaveChild(const ChildToLeave& child);

} // namespace test
