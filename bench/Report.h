#pragma once

#include <cstdio>

/// How every benchmark prints: one line per comparison, its figure beside the peer's from the same run, their ratio and
/// the ratio to reach.
namespace bench
{

enum class Reach
{
    AtMost,
    AtLeast,
};

/// Returns whether the ratio figure / peer is within reach.
inline bool Compare(
    const char* what, double figure, const char* peerName, double peer, const char* unit, Reach reach, double limit)
{
    const double ratio = figure / peer;
    const bool ok = reach == Reach::AtMost ? ratio <= limit : ratio >= limit;
    std::printf("%-44s %12.3f %-7s %-24s %12.3f  ratio %6.3f (%s %.2f) %s\n", what, figure, unit, peerName, peer, ratio,
        reach == Reach::AtMost ? "at most" : "at least", limit, ok ? "ok" : "MISSED");
    std::fflush(stdout);
    return ok;
}

} // namespace bench
