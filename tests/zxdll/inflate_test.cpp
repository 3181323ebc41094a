#include "zxdll/inflate.h"

#include "tests/support/guarded_buffer.h"
#include "tests/zxdll/frames.h"

#include <gtest/gtest.h>

#include <optional>

namespace
{

struct Stream {
    Bytes packed;
    Bytes plain;
};

std::vector<Stream> streamsOfOthers()
{
    const Bytes file = bytesOfFile(psdPath("zlib_streams.bin"));
    std::vector<Stream> streams;
    size_t at = 0;
    const auto number = [&file, &at] {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | file.at(at++);
        return value;
    };
    const auto bytes = [&file, &at](size_t count) {
        const auto start = file.begin() + static_cast<ptrdiff_t>(at);
        at += count;
        return Bytes(start, start + static_cast<ptrdiff_t>(count));
    };
    while (at < file.size()) {
        const uint32_t packed = number();
        const uint32_t plain = number();
        Stream stream;
        stream.packed = bytes(packed);
        stream.plain = bytes(plain);
        streams.push_back(stream);
    }
    return streams;
}

// Between guard pages on both sides.
std::optional<Bytes> inflated(const Bytes& packed, size_t count)
{
    const GuardedBytes stream(packed);
    const GuardedBuffer out(count);
    if (!zx::inflateZlib(stream.data(), packed.size(), out.data(), count))
        return {};
    return out.contents();
}

// Bits from a text of them, the first one being the lowest of its byte.
Bytes bitsOf(const std::string& text)
{
    Bytes bytes;
    size_t count = 0;
    for (const char c : text) {
        if (c == ' ')
            continue;
        if (count % 8 == 0)
            bytes.push_back(0);
        bytes.back() = static_cast<uint8_t>(bytes.back() | (c - '0') << (count % 8));
        ++count;
    }
    return bytes;
}

// The stream of these bits with the checksum of `plain`.
Bytes streamOf(const std::string& bits, const Bytes& plain)
{
    Bytes stream = {0x78, 0x01};
    append(stream, bitsOf(bits));
    const Bytes stored = psdStore(plain);
    stream.insert(stream.end(), stored.end() - 4, stored.end());
    return stream;
}

} // namespace

TEST(Inflate, GivesWhatOthersCompressed)
{
    const std::vector<Stream> streams = streamsOfOthers();
    ASSERT_EQ(streams.size(), 48u);
    for (const Stream& stream : streams)
        EXPECT_EQ(inflated(stream.packed, stream.plain.size()), stream.plain);
}

TEST(Inflate, RefusesStreamsThatAreCutAnywhere)
{
    for (const Stream& stream : streamsOfOthers()) {
        for (size_t size = 1; size < stream.packed.size(); ++size) {
            const Bytes cut(stream.packed.begin(),
                            stream.packed.begin() + static_cast<ptrdiff_t>(size));
            ASSERT_FALSE(inflated(cut, stream.plain.size())) << size;
        }
    }
}

TEST(Inflate, RefusesOtherLengthsThanTheStreams)
{
    for (const Stream& stream : streamsOfOthers()) {
        EXPECT_FALSE(inflated(stream.packed, stream.plain.size() + 1));
        if (!stream.plain.empty()) {
            EXPECT_FALSE(inflated(stream.packed, stream.plain.size() - 1));
        }
    }
}

TEST(Inflate, IgnoresWhatFollowsTheStream)
{
    Stream stream = streamsOfOthers()[20];
    append(stream.packed, {1, 2, 3});
    EXPECT_EQ(inflated(stream.packed, stream.plain.size()), stream.plain);
}

TEST(Inflate, NoticesEveryByteThatIsChanged)
{
    // But for a header that stays sound.
    Random random(1);
    const std::vector<Stream> streams = streamsOfOthers();
    for (const Stream& stream : streams) {
        for (size_t i = 2; i < stream.packed.size(); i += 1 + stream.packed.size() / 97) {
            Bytes changed = stream.packed;
            changed[i] = static_cast<uint8_t>(changed[i] ^ (1u << random.between(0, 7)));
            const std::optional<Bytes> plain = inflated(changed, stream.plain.size());
            if (plain) { // bits that pad a block's end
                EXPECT_EQ(*plain, stream.plain);
            }
        }
    }
}

TEST(Inflate, ReadsTheHeader)
{
    const Bytes good = psdStore({1, 2, 3});
    ASSERT_TRUE(inflated(good, 3));
    const struct {
        uint8_t method;
        uint8_t flags;
    } bad[] = {{0x79, 0x1A}, {0x88, 0x1C}, {0x78, 0x02}, {0x78, 0xBB}};
    for (const auto& head : bad) {
        Bytes stream = good;
        stream[0] = head.method;
        stream[1] = head.flags;
        EXPECT_FALSE(inflated(stream, 3)) << int{head.method} << ", " << int{head.flags};
    }
}

TEST(Inflate, RefusesAWrongChecksum)
{
    Bytes stream = psdStore({1, 2, 3});
    stream.back() ^= 1;
    EXPECT_FALSE(inflated(stream, 3));
}

TEST(Inflate, ReadsFixedCodes)
{
    // Final, fixed; 'a' is 0x30 + 0x61 in eight bits; a length of 3 is 257, in
    // seven; a distance of 1 is 0, in five; the end.
    EXPECT_EQ(inflated(streamOf("1 10 10010001 0000001 00000 0000000", {97, 97, 97, 97}), 4),
              (Bytes{97, 97, 97, 97}));
    // The longest length, 258, has a symbol of its own, 285: 11000101.
    const Bytes many(259, 97);
    EXPECT_EQ(inflated(streamOf("1 10 10010001 11000101 00000 0000000", many), 259), many);
}

TEST(Inflate, RefusesDistancesPastTheStart)
{
    const Bytes four(4, 97);
    EXPECT_FALSE(inflated(streamOf("1 10 10010001 0000001 00001 0000000", four), 4));
    EXPECT_FALSE(inflated(streamOf("1 10 0000001 00000 0000000", {0, 0, 0}), 3));
}

TEST(Inflate, RefusesSymbolsThatMeanNothing)
{
    // Lengths 286 and 287, distances 30 and 31, a block of kind 3.
    const Bytes four(4, 97);
    for (const char* bits :
         {"1 10 10010001 11000110 00000 0000000", "1 10 10010001 11000111 00000 0000000",
          "1 10 10010001 0000001 11110 0000000", "1 10 10010001 0000001 11111 0000000",
          "1 11 10010001 0000000"})
        EXPECT_FALSE(inflated(streamOf(bits, four), 4)) << bits;
}

TEST(Inflate, RefusesCodesThatAreNone)
{
    // Own codes: 257 + 0 symbols, 1 + 0 distances, 4 + n lengths of lengths.
    const std::string head = "1 01 00000 00000 ";
    // All lengths of lengths 1: far too many codes.
    std::string full = head + "1111 ";
    for (int i = 0; i < 19; ++i)
        full += "100";
    EXPECT_FALSE(inflated(streamOf(full, {}), 0));
    // A repetition of the length before the first: 16 alone has a code.
    EXPECT_FALSE(inflated(streamOf(head + "0000 100 000 000 000 0 00 0 00", {}), 0));
    // No end of a block: 138 + 120 lengths of 0, by the code of 18.
    EXPECT_FALSE(inflated(streamOf(head + "0000 000 000 100 000 0 1111111 0 1011011 0 0", {}), 0));
    // Too many lengths: 138 twice.
    EXPECT_FALSE(inflated(streamOf(head + "0000 000 000 100 000 0 1111111 0 1111111 0 0", {}), 0));
    // 287 symbols, 31 distances.
    EXPECT_FALSE(inflated(streamOf("1 01 01111 00000 0000 100 100 000 000", {}), 0));
    EXPECT_FALSE(inflated(streamOf("1 01 00000 01111 0000 100 100 000 000", {}), 0));
}

TEST(Inflate, RefusesBitsThatNoCodeBeginsWith)
{
    // Own codes: 258 symbols, 1 distance, 18 lengths of lengths, which give 18 the code 0,
    // 1 the code 10, 0 the code 110 and 2 the code 111.
    const std::string head = "1 01 10000 00000 0111 000 000 100 110 000 000 000 000 000 000 000 "
                             "000 000 000 000 110 000 010 ";
    // 65 is 0, the end 10 and a length of 3 11; a distance of 1 is 0, and 1 is nothing.
    const std::string symbols = head + "0 0110110 10 0 1111111 0 1001010 111 111 ";
    const Bytes plain = {65, 65, 65, 65};
    EXPECT_EQ(inflated(streamOf(symbols + "10  0 11 0 10", plain), 4), plain);
    EXPECT_FALSE(inflated(streamOf(symbols + "10  0 11 10", plain), 4));
    // No distance has a code.
    EXPECT_FALSE(inflated(streamOf(symbols + "110  0 11 10", plain), 4));
}

TEST(Inflate, SurvivesAnyBytes)
{
    Random random(2);
    for (int i = 0; i < 20000; ++i) {
        Bytes stream(static_cast<size_t>(random.between(2, 60)));
        random.fill(stream.data(), stream.size());
        stream[0] = 0x78;
        stream[1] = 0x01;
        const GuardedBytes in(stream);
        uint8_t out[300];
        zx::inflateZlib(in.data(), stream.size(), out, sizeof out);
    }
}
