#include "support/ProcessActs.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace test
{

namespace
{

constexpr const char* starterVariable = "QX_TEST_STARTER"; // of a child that was left

}

const bool canLeaveChildren = true;

void EndBySignal(int signal)
{
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    std::signal(signal, SIG_DFL);
    kill(getpid(), signal);
    std::abort();
}

void WaitForParentEnd()
{
    const pid_t starter = std::stoi(getenv(starterVariable));
    while (getppid() == starter)
        usleep(2000);
}

void LeaveChild(const ChildToLeave& child)
{
    std::vector<char*> arguments;
    for (const std::string& word : child.command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    setenv(starterVariable, std::to_string(getpid()).c_str(), 1);
    if (fork() != 0)
        return;
    if (!child.isInGroup)
        setsid();
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, STDIN_FILENO);
    if (!child.holdsOutput)
        dup2(nothing, STDOUT_FILENO);
    if (!child.holdsLog)
        dup2(nothing, STDERR_FILENO);
    execv(arguments[0], arguments.data());
    _exit(127);
}

} // namespace test
