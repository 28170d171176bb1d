#pragma once

#include <bit>
#include <compare>
#include <cstdint>

namespace QxClient
{

/// What the rules look at when they decide about a queued call. Calls of equal needs always get the same answer, which
/// is what lets a queue of many alike calls be decided by looking at one of them.
struct CallNeeds
{
    float processors = 0;
    float memoryInMB = 0;
    bool canRunLocally = true;
    bool mayGoToNetwork = false;

    /// An order over bit patterns, so that values that are no numbers have their place in it too.
    friend std::strong_ordering operator<=>(const CallNeeds& a, const CallNeeds& b) noexcept
    {
        return a.Key() <=> b.Key();
    }
    friend bool operator==(const CallNeeds& a, const CallNeeds& b) noexcept { return a.Key() == b.Key(); }

private:
    struct OrderedKey
    {
        std::uint32_t processors;
        std::uint32_t memoryInMB;
        bool canRunLocally;
        bool mayGoToNetwork;
        auto operator<=>(const OrderedKey&) const = default; // NOLINT(modernize-use-nullptr): there is no pointer
    };

    OrderedKey Key() const noexcept
    {
        return {std::bit_cast<std::uint32_t>(processors), std::bit_cast<std::uint32_t>(memoryInMB), canRunLocally,
            mayGoToNetwork};
    }
};

} // namespace QxClient
