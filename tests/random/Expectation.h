#pragma once

#include "random/Plan.h"

namespace test
{

/// What follows from a plan.
struct Expectation
{
    bool mayBeDone = true; ///< for qx; the library asks its application what a servant's end means
    bool mayFail = false;
    bool childWrites = false; ///< one that the servant has left, and so the call fails
    bool servantEndAlone = false; ///< nothing but how the servant ends makes the call fail
    bool hasAnswer = true; ///< a right one
    bool hasPlainData = true; ///< the data is that of the plan
    std::size_t inputTaken = 0; ///< by a servant that carries out all of its steps
    std::uint32_t delaysMs = 0; ///< that the plan asks for, the grace time among them where it is needed
    std::uint32_t remainsMs = 0; ///< how long a servant may outlive its client
};

Expectation ExpectationOf(const CallPlan& plan);

/// What is said of the log is all there when the call is done.
std::string ExpectedLog(const ServantPlan& servant);

} // namespace test
