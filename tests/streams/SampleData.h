#pragma once

#include <cstddef>
#include <random>
#include <string>

/// Data of every kind that goes over a connection, the same in every run.
namespace compression_test
{

inline std::string Text(std::size_t size)
{
    static const char* const words[] = {"the ", "solver ", "of ", "matrix ", "converged ", "after ", "iterations, ",
        "residual ", "0.0173", "\r\n", "node ", "and "};
    std::minstd_rand random(1);
    std::string text;
    while (text.size() < size)
        text += words[random() % std::size(words)];
    text.resize(size);
    return text;
}

inline std::string Runs(std::size_t size)
{
    std::minstd_rand random(3);
    std::string bytes;
    while (bytes.size() < size)
        bytes.append(random() % 700, static_cast<char>(random() % 3));
    bytes.resize(size);
    return bytes;
}

inline std::string Noise(std::size_t size)
{
    std::mt19937 random(4);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

struct DataKind
{
    const char* name;
    std::string (*make)(std::size_t size);
};

inline constexpr DataKind dataKinds[] = {{"text", Text}, {"runs", Runs}, {"noise", Noise}};

inline constexpr std::size_t dataSizes[] = {1, 9, 215, 216, 65535, 65536, 65537, 10485760};

} // namespace compression_test
