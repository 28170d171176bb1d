// The servant of the benchmarks of calls: small and without the kit, so that what is measured is the way to it. Its
// service "Echo" sends back what it gets, "Sleep" sleeps for 50 ms, "Ignore" never ends and "Compute" not before its
// reader has gone.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace
{

void Send(const char* data, std::size_t size)
{
    while (size != 0)
    {
        const ssize_t count = write(STDOUT_FILENO, data, size);
        if (count <= 0)
            std::exit(1);
        data += count;
        size -= static_cast<std::size_t>(count);
    }
}

void Echo()
{
    char buffer[65536];
    for (ssize_t count; (count = read(STDIN_FILENO, buffer, sizeof buffer)) > 0;)
        Send(buffer, static_cast<std::size_t>(count));
}

/// A thread watches the output.
void Compute()
{
    std::thread(
        []
        {
            pollfd output{STDOUT_FILENO, 0, 0};
            poll(&output, 1, -1);
            _exit(3);
        })
        .detach();
    volatile unsigned round = 0;
    for (;;)
        round = round + 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
        return 2;
    char answer[256];
    const int size = std::snprintf(answer, sizeof answer, "servant bench executing %s\n", argv[2]);
    Send(answer, static_cast<std::size_t>(size));
    if (std::strcmp(argv[2], "Echo") == 0)
        Echo();
    else if (std::strcmp(argv[2], "Ignore") == 0)
        pause(); // whatever happens to the channels
    else if (std::strcmp(argv[2], "Compute") == 0)
        Compute();
    else
    {
        const timespec time{0, 50'000'000};
        nanosleep(&time, nullptr);
    }
    return 0;
}
