#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>
#include <vector>

/// How the benchmarks of whole calls take times: by the wall clock, both sides in turns, medians.
namespace bench
{

template <class Action>
double WallSeconds(Action action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double MedianOf(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The medians of both sides' seconds over so many turns. The first turn, which warms both up, is not counted.
template <class Ours, class Peer>
std::pair<double, double> MeasureInTurns(int turns, Ours ours, Peer peer)
{
    std::vector<double> oursSeconds;
    std::vector<double> peerSeconds;
    for (int turn = 0; turn <= turns; ++turn)
    {
        const double oursNow = WallSeconds(ours);
        const double peerNow = WallSeconds(peer);
        if (turn == 0)
            continue;
        oursSeconds.push_back(oursNow);
        peerSeconds.push_back(peerNow);
    }
    return {MedianOf(oursSeconds), MedianOf(peerSeconds)};
}

} // namespace bench
