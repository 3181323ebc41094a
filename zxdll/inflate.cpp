#include "zxdll/inflate.h"

#include <algorithm>
#include <cstring>

namespace zx
{
namespace
{

// --- Bits, the lowest of a byte first ------------------------------------------------

struct Bits {
    const uint8_t* next;
    const uint8_t* end;
    uint64_t held;
    uint32_t count;   // of held bits
    uint64_t missing; // zero bytes that were held in place of those past the end
};

// Makes it at least 56 bits, which is enough for a length and a distance.
void fill(Bits& bits)
{
    if (bits.end - bits.next >= 8) {
        uint64_t word = 0;
        for (int i = 0; i < 8; ++i)
            word |= uint64_t{bits.next[i]} << (8 * i);
        bits.held |= word << bits.count;
        bits.next += (63 - bits.count) >> 3;
        bits.count |= 56;
        return;
    }
    for (; bits.count < 56; bits.count += 8) {
        if (bits.next < bits.end)
            bits.held |= uint64_t{*bits.next++} << bits.count;
        else
            ++bits.missing;
    }
}

// Whether bits from past the end were taken.
bool ranOut(const Bits& bits)
{
    return bits.missing * 8 > bits.count;
}

// At most 16 of the bits that are held.
uint32_t take(Bits& bits, uint32_t count)
{
    const uint32_t value = static_cast<uint32_t>(bits.held) & ((1u << count) - 1);
    bits.held >>= count;
    bits.count -= count;
    return value;
}

// Gives back all whole bytes; false if some were never there.
bool alignToByte(Bits& bits)
{
    if (ranOut(bits))
        return false;
    bits.next -= bits.count / 8 - bits.missing;
    bits.held = 0;
    bits.count = 0;
    bits.missing = 0;
    return true;
}

// --- Huffman codes ----------------------------------------------------------------------

constexpr uint32_t longestCode = 15;
constexpr uint32_t mostSymbols = 288;
constexpr uint32_t mostTableBits = 10;

struct Code {
    uint16_t lengthCounts[longestCode + 1];
    uint16_t symbols[mostSymbols]; // by code
    // By the next bits: symbol << 4 | length; 0 for codes longer than these bits.
    uint16_t table[1u << mostTableBits];
    uint32_t tableBits;
};

// Whether lengths fit together: all codes used, or a single one of one bit.
bool lengthsAreSound(const Code& code)
{
    int32_t left = 1;
    uint32_t used = 0;
    for (uint32_t length = 1; length <= longestCode; ++length) {
        left = left * 2 - code.lengthCounts[length];
        used += code.lengthCounts[length];
        if (left < 0)
            return false;
    }
    return left == 0 || used == 0 || (used == 1 && code.lengthCounts[1] == 1);
}

uint32_t reversed(uint32_t value, uint32_t count)
{
    uint32_t result = 0;
    for (uint32_t i = 0; i < count; ++i, value >>= 1)
        result = result << 1 | (value & 1);
    return result;
}

void enterSymbol(Code& code, uint32_t symbol, uint32_t value, uint32_t length)
{
    if (length > code.tableBits)
        return;
    const uint32_t tableSize = 1u << code.tableBits;
    for (uint32_t i = reversed(value, length); i < tableSize; i += 1u << length)
        code.table[i] = static_cast<uint16_t>(symbol << 4 | length);
}

// A symbol of length 0 has no code.
bool makeCode(Code& code, const uint8_t* lengths, uint32_t count, uint32_t tableBits)
{
    std::memset(code.lengthCounts, 0, sizeof code.lengthCounts);
    for (uint32_t symbol = 0; symbol < count; ++symbol)
        ++code.lengthCounts[lengths[symbol]];
    code.lengthCounts[0] = 0;
    if (!lengthsAreSound(code))
        return false;
    uint32_t nextValue[longestCode + 1] = {};
    uint32_t nextIndex[longestCode + 1] = {};
    for (uint32_t length = 1; length < longestCode; ++length) {
        nextValue[length + 1] = (nextValue[length] + code.lengthCounts[length]) << 1;
        nextIndex[length + 1] = nextIndex[length] + code.lengthCounts[length];
    }
    code.tableBits = tableBits;
    std::memset(code.table, 0, sizeof(uint16_t) << tableBits);
    for (uint32_t symbol = 0; symbol < count; ++symbol) {
        const uint32_t length = lengths[symbol];
        if (length == 0)
            continue;
        code.symbols[nextIndex[length]++] = static_cast<uint16_t>(symbol);
        enterSymbol(code, symbol, nextValue[length]++, length);
    }
    return true;
}

constexpr uint32_t noSymbol = UINT32_MAX;

// Codes of one length are consecutive numbers, and follow those of the length
// before, with a bit more.
uint32_t takeLongSymbol(Bits& bits, const Code& code)
{
    uint32_t value = 0;
    uint32_t first = 0;
    uint32_t index = 0;
    for (uint32_t length = 1; length <= longestCode; ++length) {
        value = value << 1 | (static_cast<uint32_t>(bits.held >> (length - 1)) & 1);
        const uint32_t count = code.lengthCounts[length];
        if (value - first < count) {
            take(bits, length);
            return code.symbols[index + value - first];
        }
        index += count;
        first = (first + count) << 1;
    }
    return noSymbol;
}

// noSymbol for bits that no code begins with.
inline uint32_t takeSymbol(Bits& bits, const Code& code)
{
    const uint32_t next = static_cast<uint32_t>(bits.held) & ((1u << code.tableBits) - 1);
    const uint32_t entry = code.table[next];
    if (entry == 0)
        return takeLongSymbol(bits, code);
    take(bits, entry & 15);
    return entry >> 4;
}

// --- Blocks ---------------------------------------------------------------------------

struct Inflater {
    Bits bits;
    uint8_t* start;
    uint8_t* out;
    uint8_t* end;
    Code literals; // and lengths
    Code distances;
    bool fixed; // whether they are those of blocks without codes of their own
};

constexpr uint32_t literalTableBits = mostTableBits;
constexpr uint32_t distanceTableBits = 8;
constexpr uint32_t endOfBlock = 256;

bool copyStored(Inflater& in)
{
    if (!alignToByte(in.bits) || in.bits.end - in.bits.next < 4)
        return false;
    const uint8_t* head = in.bits.next;
    const uint32_t count = head[0] | static_cast<uint32_t>(head[1]) << 8;
    const uint32_t inverse = head[2] | static_cast<uint32_t>(head[3]) << 8;
    in.bits.next += 4;
    if ((count ^ inverse) != 0xFFFF || static_cast<uint64_t>(in.bits.end - in.bits.next) < count ||
        static_cast<uint64_t>(in.end - in.out) < count)
        return false;
    if (count > 0)
        std::memcpy(in.out, in.bits.next, count);
    in.bits.next += count;
    in.out += count;
    return true;
}

bool copyEarlier(Inflater& in, uint32_t distance, uint32_t length)
{
    if (distance > static_cast<uint64_t>(in.out - in.start) ||
        length > static_cast<uint64_t>(in.end - in.out))
        return false;
    const uint8_t* from = in.out - distance;
    if (distance >= length)
        std::memcpy(in.out, from, length);
    else if (distance == 1)
        std::memset(in.out, *from, length);
    else
        for (uint32_t i = 0; i < length; ++i)
            in.out[i] = from[i];
    in.out += length;
    return true;
}

bool copyMatch(Inflater& in, uint32_t lengthSymbol)
{
    constexpr uint16_t lengthBases[29] = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                          15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                          67, 83, 99, 115, 131, 163, 195, 227, 258};
    constexpr uint8_t lengthBits[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                        2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
    if (lengthSymbol >= 29)
        return false;
    const uint32_t length = lengthBases[lengthSymbol] + take(in.bits, lengthBits[lengthSymbol]);
    const uint32_t symbol = takeSymbol(in.bits, in.distances);
    if (symbol >= 30)
        return false;
    // Two distances share each number of further bits, but for the first four.
    const uint32_t more = symbol < 4 ? 0 : symbol / 2 - 1;
    const uint32_t base = symbol < 4 ? symbol : (2 + (symbol & 1)) << more;
    return copyEarlier(in, base + take(in.bits, more) + 1, length);
}

bool copyCoded(Inflater& in)
{
    for (;;) {
        fill(in.bits);
        if (ranOut(in.bits))
            return false;
        const uint32_t symbol = takeSymbol(in.bits, in.literals);
        if (symbol < endOfBlock) {
            if (in.out == in.end)
                return false;
            *in.out++ = static_cast<uint8_t>(symbol);
            continue;
        }
        if (symbol == endOfBlock)
            return true;
        if (!copyMatch(in, symbol - endOfBlock - 1))
            return false;
    }
}

void makeFixedCodes(Inflater& in)
{
    if (in.fixed)
        return;
    uint8_t lengths[mostSymbols];
    for (uint32_t i = 0; i < mostSymbols; ++i)
        lengths[i] = i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8;
    makeCode(in.literals, lengths, mostSymbols, literalTableBits);
    std::memset(lengths, 5, 32);
    makeCode(in.distances, lengths, 32, distanceTableBits);
    in.fixed = true;
}

// The code of the lengths of the codes.
bool readLengthsCode(Inflater& in, uint32_t count, Code& code)
{
    constexpr uint8_t order[19] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                   11, 4,  12, 3, 13, 2, 14, 1, 15};
    uint8_t lengths[19] = {};
    for (uint32_t i = 0; i < count; ++i) {
        fill(in.bits);
        lengths[order[i]] = static_cast<uint8_t>(take(in.bits, 3));
    }
    return !ranOut(in.bits) && makeCode(code, lengths, 19, 7);
}

bool readLengths(Inflater& in, const Code& code, uint8_t* lengths, uint32_t count)
{
    for (uint32_t done = 0; done < count;) {
        fill(in.bits);
        const uint32_t symbol = takeSymbol(in.bits, code);
        if (symbol == noSymbol || ranOut(in.bits) || (symbol == 16 && done == 0))
            return false;
        uint32_t run = 1;
        uint8_t length = static_cast<uint8_t>(symbol);
        if (symbol == 16) {
            run = 3 + take(in.bits, 2);
            length = lengths[done - 1];
        } else if (symbol > 16) {
            run = symbol == 17 ? 3 + take(in.bits, 3) : 11 + take(in.bits, 7);
            length = 0;
        }
        if (run > count - done)
            return false;
        std::memset(lengths + done, length, run);
        done += run;
    }
    return true;
}

bool readCodes(Inflater& in)
{
    in.fixed = false;
    fill(in.bits);
    const uint32_t literalCount = 257 + take(in.bits, 5);
    const uint32_t distanceCount = 1 + take(in.bits, 5);
    const uint32_t lengthsCount = 4 + take(in.bits, 4);
    if (literalCount > 286 || distanceCount > 30)
        return false;
    uint8_t lengths[286 + 30] = {};
    // The literals' code has a place to lend until it is made itself.
    if (!readLengthsCode(in, lengthsCount, in.literals) ||
        !readLengths(in, in.literals, lengths, literalCount + distanceCount))
        return false;
    return lengths[endOfBlock] != 0 &&
           makeCode(in.literals, lengths, literalCount, literalTableBits) &&
           makeCode(in.distances, lengths + literalCount, distanceCount, distanceTableBits);
}

bool inflateBlock(Inflater& in, uint32_t kind)
{
    switch (kind) {
    case 0:
        return copyStored(in);
    case 1:
        makeFixedCodes(in);
        return copyCoded(in);
    case 2:
        return readCodes(in) && copyCoded(in);
    default:
        return false;
    }
}

bool inflateBlocks(Inflater& in)
{
    for (;;) {
        fill(in.bits);
        const uint32_t last = take(in.bits, 1);
        const uint32_t kind = take(in.bits, 2);
        if (ranOut(in.bits) || !inflateBlock(in, kind))
            return false;
        if (last)
            return alignToByte(in.bits);
    }
}

// The checksum of RFC 1950.
uint32_t adler32(const uint8_t* bytes, size_t count)
{
    constexpr uint32_t modulus = 65521;
    constexpr size_t mostAtOnce = 5552; // without passing 32 bits
    uint32_t a = 1;
    uint32_t b = 0;
    while (count > 0) {
        const size_t now = std::min(count, mostAtOnce);
        for (size_t i = 0; i < now; ++i) {
            a += bytes[i];
            b += a;
        }
        a %= modulus;
        b %= modulus;
        bytes += now;
        count -= now;
    }
    return b << 16 | a;
}

bool headerIsSound(const uint8_t* head)
{
    const bool deflated = (head[0] & 15) == 8 && head[0] >> 4 <= 7;
    const bool needsDictionary = (head[1] & 0x20) != 0;
    return deflated && !needsDictionary && (head[0] << 8 | head[1]) % 31 == 0;
}

} // namespace

bool inflateZlib(const uint8_t* stream, size_t bytes, uint8_t* out, size_t outBytes)
{
    if (bytes < 2 || !headerIsSound(stream))
        return false;
    Inflater in;
    in.bits = {stream + 2, stream + bytes, 0, 0, 0};
    in.start = out;
    in.out = out;
    in.end = out + outBytes;
    in.fixed = false;
    if (!inflateBlocks(in) || in.out != in.end || in.bits.end - in.bits.next < 4)
        return false;
    uint32_t sum = 0;
    for (int i = 0; i < 4; ++i)
        sum = sum << 8 | in.bits.next[i];
    return sum == adler32(out, outBytes);
}

} // namespace zx
