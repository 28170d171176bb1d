#include "support/ProcessControl.h"

#include <csignal>

void test::InterruptProcess(std::uint32_t processId)
{
    kill(static_cast<pid_t>(processId), SIGINT);
}

void test::SetStalled(std::uint32_t processId, bool isStalled)
{
    kill(static_cast<pid_t>(processId), isStalled ? SIGSTOP : SIGCONT);
}

bool test::KillResetsConnections()
{
    return true;
}
