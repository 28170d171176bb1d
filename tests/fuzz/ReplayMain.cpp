// Runs a fuzz target over the files of a folder, for builds without libFuzzer.

#include "tests/fuzz/FuzzTarget.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv)
{
    if (argc < 2)
        return std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]), 2;
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1]))
    {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        std::printf("%s\n", entry.path().string().c_str());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++count;
    }
    return count == 0 ? 1 : 0;
}
