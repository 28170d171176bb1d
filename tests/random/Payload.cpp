#include "random/Payload.h"

#include "random/Random.h"

#include <algorithm>

namespace test
{

namespace
{

std::string NextPiece(Content content, Random& random)
{
    static constexpr const char* words[] = {"servant ", "call ", "answer\n", "frame", "[12|", "]", "\r\n", "0 ", "\t"};
    switch (content)
    {
    case Content::Runs:
        return std::string(random.Size(5000), static_cast<char>(random.Next()));
    case Content::Text:
        return words[random.Between(0, std::size(words) - 1)];
    default:
        std::string noise;
        for (int word = 0; word < 64; ++word)
        {
            const std::uint64_t bits = random.Next();
            for (unsigned byte = 0; byte < sizeof bits; ++byte)
                noise += static_cast<char>(bits >> (8 * byte));
        }
        return noise;
    }
}

} // namespace

std::string MakePayload(const Payload& payload)
{
    Random random(payload.seed);
    std::string data;
    data.reserve(payload.size + 5000);
    while (data.size() < payload.size)
        data += NextPiece(payload.content, random);
    data.resize(payload.size);
    return data;
}

std::uint64_t HashOf(std::string_view data, std::uint64_t before)
{
    for (const char byte : data)
        before = (before ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
    return before;
}

} // namespace test
