#include "client/OpenHandles.h"

#include <filesystem>
#include <iterator>

std::ptrdiff_t test::CountOpenHandles()
{
    const std::filesystem::directory_iterator handles("/proc/self/fd");
    return std::distance(begin(handles), end(handles));
}
