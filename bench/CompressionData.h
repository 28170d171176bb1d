#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <vector>

/// What the benchmarks of compression have in common: data of several kinds, and the clock.
namespace bench
{

using Bytes = std::vector<std::uint8_t>;

struct DataSet
{
    std::string name;
    Bytes bytes;
};

/// Processor time, since other work on the computer would only blur a comparison of codecs.
inline double ProcessorSeconds(auto action)
{
    const std::clock_t start = std::clock();
    action();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

template <class T>
void AppendNumbers(Bytes& bytes, const std::vector<T>& numbers)
{
    const auto* start = reinterpret_cast<const std::uint8_t*>(numbers.data());
    bytes.insert(bytes.end(), start, start + numbers.size() * sizeof(T));
}

/// The files below the folders with one of the extensions, one after the other in the order of their paths.
inline Bytes Files(const std::vector<const char*>& folders, const std::set<std::string>& extensions, std::size_t size)
{
    namespace fs = std::filesystem;
    std::set<fs::path> paths;
    for (const char* folder : folders)
    {
        for (const auto& entry :
            fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied))
        {
            if (!entry.is_symlink() && entry.is_regular_file()
                && extensions.contains(entry.path().extension().string()))
                paths.insert(entry.path());
        }
    }
    Bytes bytes;
    for (const fs::path& path : paths)
    {
        std::ifstream file(path, std::ios::binary);
        bytes.insert(bytes.end(), std::istreambuf_iterator<char>(file), {});
        if (bytes.size() >= size)
            break;
    }
    bytes.resize(std::min(bytes.size(), size));
    return bytes;
}

/// What a solver exchanges: the sparse matrix of a grid (columns, values), a field after some sweeps, a time series.
inline Bytes SolverData(std::size_t size)
{
    constexpr int width = 768;
    std::vector<std::int32_t> columns;
    std::vector<double> values;
    std::vector<double> field(width * width, 20.0);
    for (int i = 0; i < width * width; ++i)
    {
        const double conductivity = 1 + 0.25 * ((i % width / 64 + i / width / 64) % 3);
        for (const int offset : {-width, -1, 0, 1, width})
        {
            if (i + offset < 0 || i + offset >= width * width)
                continue;
            columns.push_back(i + offset);
            values.push_back(offset == 0 ? 4 * conductivity : -conductivity);
        }
    }
    for (int i = 0; i < width; ++i)
        field[static_cast<std::size_t>(i)] = 100 + i % 7;
    for (int sweep = 0; sweep < 200; ++sweep)
        for (std::size_t i = width + 1; i + width + 1 < field.size(); ++i)
            field[i] = 0.25 * (field[i - 1] + field[i + 1] + field[i - width] + field[i + width]);
    std::vector<float> series;
    for (int i = 0; i < 1 << 20; ++i)
        series.push_back(50 * std::sin(static_cast<float>(i) * 0.001f) + 20);

    Bytes bytes;
    while (bytes.size() < size)
    {
        AppendNumbers(bytes, columns);
        AppendNumbers(bytes, values);
        AppendNumbers(bytes, field);
        AppendNumbers(bytes, series);
    }
    bytes.resize(size);
    return bytes;
}

inline Bytes Noise(std::size_t size)
{
    std::mt19937_64 random(1);
    std::vector<std::uint64_t> numbers(size / sizeof(std::uint64_t));
    std::generate(numbers.begin(), numbers.end(), random);
    Bytes bytes;
    AppendNumbers(bytes, numbers);
    return bytes;
}

inline std::vector<DataSet> CompressionData(std::size_t size)
{
    return {{"text", Files({"/usr/include", "/usr/lib", "/usr/share"}, {".h", ".hpp", ".py", ".txt"}, size)},
        {"binaries", Files({"/usr/lib", "/usr/libexec", "/usr/local"}, {".so", ".a", ".o", ""}, size)},
        {"numbers", SolverData(size)}, {"noise", Noise(size)}};
}

} // namespace bench
