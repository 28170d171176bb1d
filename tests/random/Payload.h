#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace test
{

enum class Content
{
    Runs,
    Text,
    Noise,
};

/// Data that whoever has its seed can make again.
struct Payload
{
    Content content = Content::Noise;
    std::size_t size = 0;
    std::uint64_t seed = 0;
};

std::string MakePayload(const Payload& payload);

/// Tells data apart, for reports (FNV-1a). Taken over pieces when the last result is passed on.
std::uint64_t HashOf(std::string_view data, std::uint64_t before = 0xCBF29CE484222325u);

} // namespace test
