#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

// --- Bits at any offset --------------------------------------------------------------

// Bytes that begin `shift` (0 to 7) bits into theirs. Reads a byte more than
// a word holds.
struct ShiftedWords {
    const uint8_t* bytes;
    int32_t shift;
    uint64_t highs; // the bits of each byte that come from its own
    uint64_t lows;  // and those from the next

    ShiftedWords(const uint8_t* base, size_t start)
        : bytes(base + (start >> 3)), shift(static_cast<int32_t>(start & 7)),
          highs((0xFFu << shift & 0xFF) * 0x0101010101010101u),
          lows((0xFFu >> (8 - shift)) * 0x0101010101010101u)
    {
    }
    uint64_t at(size_t i) const
    {
        uint64_t word;
        uint64_t next;
        __builtin_memcpy(&word, bytes + i * 8, 8);
        __builtin_memcpy(&next, bytes + i * 8 + 1, 8);
        return (word << shift & highs) | (next >> (8 - shift) & lows);
    }
};

// The 64 bits before bit `end`, of which the first eight are undefined. Reads the
// eight bytes up to the last of them.
uint64_t loadBitsBefore(const uint8_t* bytes, size_t end)
{
    uint64_t word;
    __builtin_memcpy(&word, bytes + ((end + 7) >> 3) - 8, 8);
    return __builtin_bswap64(word) >> ((8 - (end & 7)) & 7);
}

// Up to seven bytes, first in the word's most significant byte, and back. In
// pieces, because a load across an earlier store waits for it.
uint64_t loadBytes(const uint8_t* bytes, size_t count)
{
    uint64_t word = 0;
    for (size_t i = 0; i < count; ++i)
        word |= static_cast<uint64_t>(bytes[i]) << (56 - 8 * i);
    return word;
}

void storeBytes(uint8_t* bytes, uint64_t word, size_t count)
{
    word = __builtin_bswap64(word);
    if (count & 4) {
        __builtin_memcpy(bytes, &word, 4);
        bytes += 4;
        word >>= 32;
    }
    if (count & 2) {
        __builtin_memcpy(bytes, &word, 2);
        bytes += 2;
        word >>= 16;
    }
    if (count & 1)
        __builtin_memcpy(bytes, &word, 1);
}

// --- Runs ----------------------------------------------------------------------------------

struct BitOperands {
    BitRows<uint8_t> dst;
    BitRows<const uint8_t> a;
    BitRows<const uint8_t> b;
    uint64_t constant;
};

// The `count` (1 to 8) bits from `done` on, which lie inside one byte of dst.
template<class Formula>
void fewBits(const BitOperands& run, size_t done, size_t count)
{
    uint8_t* byte = run.dst.bytes + ((run.dst.start + done) >> 3);
    const size_t offset = (run.dst.start + done) & 7;
    const uint32_t mask = (0xFF00u >> count & 0xFF) >> offset;
    const uint32_t x = loadBits(run.a.bytes, run.a.start + done, count);
    const uint32_t y = Formula::readsB ? loadBits(run.b.bytes, run.b.start + done, count)
                                       : static_cast<uint32_t>(run.constant);
    const uint32_t bits = Formula::of(static_cast<uint32_t>(*byte) << offset, x, y) >> offset;
    *byte = static_cast<uint8_t>((*byte & ~mask) | (bits & mask));
}

// The `count` (0 to 56) bits from `done` on, which begin a byte of dst, where the
// run has 64 bits up to their end.
template<class Formula>
void lastBits(const BitOperands& run, size_t done, size_t count)
{
    const size_t end = done + count;
    uint8_t* out = run.dst.bytes + ((run.dst.start + done) >> 3);
    const uint64_t old = Formula::readsDst ? loadBytes(out, (count + 7) >> 3) >> (64 - count) : 0;
    const uint64_t x = loadBitsBefore(run.a.bytes, run.a.start + end);
    const uint64_t y =
        Formula::readsB ? loadBitsBefore(run.b.bytes, run.b.start + end) : run.constant;
    const uint64_t bits = Formula::of(old, x, y) << (64 - count);
    const size_t whole = count >> 3;
    storeBytes(out, bits, whole);
    if (count & 7) {
        const uint32_t mask = 0xFFu >> (count & 7);
        const uint32_t rest = static_cast<uint32_t>(bits >> (56 - 8 * whole));
        out[whole] = static_cast<uint8_t>((out[whole] & mask) | (rest & ~mask));
    }
}

template<class Formula>
inline __attribute__((always_inline)) void bitRow(const BitOperands& run, size_t width)
{
    const size_t toByte = (8 - (run.dst.start & 7)) & 7;
    size_t done = toByte < width ? toByte : width;
    if (done > 0)
        fewBits<Formula>(run, 0, done);

    // A word reads the byte behind it, which holds bits of the row too if any
    // are left.
    const size_t words = width > done ? (width - done - 1) / 64 : 0;
    uint8_t* out = run.dst.bytes + ((run.dst.start + done) >> 3);
    const ShiftedWords x(run.a.bytes, run.a.start + done);
    const ShiftedWords y(Formula::readsB ? run.b.bytes : run.a.bytes,
                         Formula::readsB ? run.b.start + done : 0);
    QUIB_INDEPENDENT
    for (size_t i = 0; i < words; ++i) {
        uint64_t word = 0;
        if (Formula::readsDst)
            __builtin_memcpy(&word, out + i * 8, 8);
        word = Formula::of(word, x.at(i), Formula::readsB ? y.at(i) : run.constant);
        __builtin_memcpy(out + i * 8, &word, 8);
    }
    done += words * 64;
    while (done < width && (width < 64 || width - done > 56)) {
        fewBits<Formula>(run, done, width - done < 8 ? width - done : 8);
        done += 8;
    }
    if (done < width)
        lastBits<Formula>(run, done, width - done);
}

template<class Formula>
void bitRun(BitRows<uint8_t> dst, BitRows<const uint8_t> a, BitRows<const uint8_t> b, size_t width,
            size_t height, int32_t value)
{
    BitOperands run{dst, a, b, value & 1 ? ~uint64_t{0} : 0};
    for (size_t y = 0; y < height; ++y) {
        bitRow<Formula>(run, width);
        run.dst.bytes += dst.step;
        run.a.bytes += a.step;
        run.b.bytes += b.step;
    }
}

// --- Formulas --------------------------------------------------------------------------------

template<bool usesB>
struct BitFormula {
    static constexpr bool readsB = usesB;
    static constexpr bool readsDst = false;
};

struct BitCopy : BitFormula<false> {
    template<class T>
    static T of(T, T a, T)
    {
        return a;
    }
};
template<bool usesB>
struct BitAnd : BitFormula<usesB> {
    template<class T>
    static T of(T, T a, T b)
    {
        return a & b;
    }
};
template<bool usesB>
struct BitOr : BitFormula<usesB> {
    template<class T>
    static T of(T, T a, T b)
    {
        return a | b;
    }
};
template<bool usesB>
struct BitXor : BitFormula<usesB> {
    template<class T>
    static T of(T, T a, T b)
    {
        return a ^ b;
    }
};
struct BitAndNot : BitFormula<true> {
    template<class T>
    static T of(T, T a, T b)
    {
        return a & ~b;
    }
};
struct BitSelect {
    static constexpr bool readsB = true;
    static constexpr bool readsDst = true;
    template<class T>
    static T of(T dst, T a, T b)
    {
        return dst ^ ((dst ^ a) & b);
    }
};

} // namespace

constinit const BitKernels bitKernels{
    .copy = bitRun<BitCopy>,
    .andS = bitRun<BitAnd<false>>,
    .orS = bitRun<BitOr<false>>,
    .xorS = bitRun<BitXor<false>>,
    .logicAnd = bitRun<BitAnd<true>>,
    .logicOr = bitRun<BitOr<true>>,
    .logicXor = bitRun<BitXor<true>>,
    .andNot = bitRun<BitAndNot>,
    .select = bitRun<BitSelect>,
};

} // namespace quib::QUIB_LEVEL
