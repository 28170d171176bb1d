#include "PacketCodec.h"
#include "ReferenceUnpacker.h"
#include "SampleData.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

using namespace compression_test;
using namespace std::string_literals;

namespace
{

std::string Repeat(const std::string& pattern, std::size_t size)
{
    std::string text;
    while (text.size() < size)
        text += pattern;
    text.resize(size);
    return text;
}

/// "abc" as literals; 0x457 is its table index.
const std::string shortAbc = "\x08\0\0\x80"s + "abc";

} // namespace

TEST(QuickLzPacket, UnpacksPacketsWrittenByHand)
{
    const std::string literals31(31, 'q');
    const std::tuple<const char*, std::string, std::string> cases[] = {
        {"stored", "\x44\x06\x03"s + "abc", "abc"},
        {"stored, long header", "\x46\xE1\0\0\0\xD8\0\0\0"s + std::string(216, 'z'), std::string(216, 'z')},
        {"length 3 at distance 3", "\x45\x0C\x06"s + shortAbc + "\x71\x45", "abcabc"},
        {"length 5, overlapping", "\x45\x0C\x08"s + shortAbc + "\x73\x45", "abcabcab"},
        {"length 17", "\x45\x0C\x14"s + shortAbc + "\x7F\x45", Repeat("abc", 20)},
        {"length 18", "\x45\x0D\x15"s + shortAbc + "\x70\x45\x12", Repeat("abc", 21)},
        {"length 255, long header", "\x47\x13\0\0\0\x02\x01\0\0"s + shortAbc + "\x70\x45\xFF", Repeat("abc", 258)},
        {"a run, by the older entry", "\x45\x0D\x09"s + "\x10\0\0\x80"s + "xaaa" + "\x73\x77", "xaaaaaaaa"},
        {"31 tokens", "\x45\x26\x1F"s + "\0\0\0\x80"s + literals31, literals31},
        {"32 tokens", "\x45\x2B\x20"s + "\0\0\0\x80"s + literals31 + "\0\0\0\x80"s + "r", literals31 + "r"},
        {"newest entry of an index", "\x45\x10\x0B"s + "\x80\0\0\x80"s + "abcabcX" + "\x72\x45", "abcabcXabcX"},
        {"bytes left over", "\x45\x0E\x06"s + shortAbc + "\x71\x45" + "??", "abcabc"},
    };
    for (const auto& [name, packet, data] : cases)
    {
        EXPECT_EQ(ReferenceUnpacker().Unpack(packet).value_or("malformed"), data) << name;
        EXPECT_EQ(Unpack(packet), data) << name;
    }
}

TEST(QuickLzPacket, RefusesHostilePackets)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", "Invalid compressed data: header cut off"},
        {"\x45\x03", "Invalid compressed data: header cut off"},
        {"\x47\x09\0\0\0\x01\0\0"s, "Invalid compressed data: header cut off"},
        {"\x49\x04\x01z", "Invalid compressed data: packet flags 73"},
        {"\x54\x04\x01z", "Invalid compressed data: packet flags 84"},
        {"\x44\x03\0"s, "Invalid uncompressed block length 0"},
        {"\x46\x0A\0\0\0\x01\0\xA0\0z"s, "Invalid uncompressed block length 10485761"},
        {"\x44\x05\x01z", "Invalid compressed data: packet size 5 in a block of 4 bytes"},
        {"\x44\x04\x02z", "Invalid compressed data: stored size 1 instead of 2"},
        {"\x45\x06\x06\0\0\0"s, "Invalid compressed data: control word cut off"},
        {"\x45\x0A\x06"s + "\x08\0\0\0"s + "abc", "Invalid compressed data: control word without its marker"},
        {"\x45\x09\x06"s + "\x08\0\0\x80"s + "ab", "Invalid compressed data: literal cut off"},
        {"\x45\x0B\x06"s + shortAbc + "\x71", "Invalid compressed data: match cut off"},
        {"\x45\x0C\x15"s + shortAbc + "\x70\x45", "Invalid compressed data: match cut off"},
        {"\x45\x0C\x06"s + shortAbc + "\x71\x46", "Invalid compressed data: match refers to no position"},
        {"\x45\x0D\x06"s + shortAbc + "\x70\x45\x02", "Invalid compressed data: match of length 2"},
        {"\x45\x0C\x06"s + shortAbc + "\x72\x45", "Invalid compressed data: match passes the end"},
    };
    for (const auto& item : cases)
    {
        EXPECT_EQ(test::ErrorOf([&] { Unpack(item.first); }), item.second);
        EXPECT_FALSE(ReferenceUnpacker().Unpack(item.first)) << item.second;
    }
}

TEST(QuickLzPacket, WritesTheWholePacketAsDescribed)
{
    EXPECT_EQ(Pack(Repeat("abc", 30)), "\x45\x11\x1E"s + shortAbc + "\x70\x45\x17" + "cabc");
    EXPECT_EQ(Pack("abcdefghijklmno"),
        "\x44\x12\x0F"
        "abcdefghijklmno");
}

TEST(QuickLzPacket, WriterKeepsTheBoundsOfTheFormat)
{
    for (const auto& kind : dataKinds)
        for (const std::size_t size : dataSizes)
        {
            if (size > 65537 && kind.make != Text) // the reference is slow
                continue;
            SCOPED_TRACE(kind.name + std::to_string(size));
            const std::string data = kind.make(size);
            const std::string packet = Pack(data);
            EXPECT_LE(packet.size(), size + (size < 216 ? 3 : 9));
            ReferenceUnpacker reference;
            ASSERT_TRUE(reference.Unpack(packet) == data);
            ASSERT_TRUE(Unpack(packet) == data);
            for (const Match& match : reference.Matches())
            {
                ASSERT_LE(match.position + 11, size);
                ASSERT_LE(match.position + match.length + 4, size);
                ASSERT_GE(match.position - match.source, 3u);
            }
        }
}

TEST(QuickLzPacket, DamagedPacketsUnpackAsTheReferenceDoes)
{
    std::mt19937 random(5);
    for (const auto& kind : dataKinds)
        for (int round = 0; round < 400; ++round)
        {
            std::string packet = Pack(kind.make(1 + random() % 3000));
            for (unsigned damage = random() % 4; damage != 0; --damage)
                packet[3 + random() % (packet.size() - 3)] ^= 1 << random() % 8;
            std::optional<std::string> data;
            test::ErrorOf([&] { data = Unpack(packet); });
            EXPECT_TRUE(data == ReferenceUnpacker().Unpack(packet));
        }
}
