#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

// --- Vectors of pixels, the last one first -------------------------------------------

template<size_t pixelBytes>
struct ReversedRule {
    static constexpr int of(size_t i, size_t lanes)
    {
        return static_cast<int>((lanes / pixelBytes - 1 - i / pixelBytes) * pixelBytes +
                                i % pixelBytes);
    }
};

// Of pixels whose size divides that of the vector.
template<size_t pixelBytes, class V>
QUIB_INLINE V reversed(V pixels)
{
    if constexpr (looksUpBytes) {
        return rearrange<ReversedRule<pixelBytes>>(pixels, pixels);
    } else {
        // Words change places, and the pixels in them turn round by shifts.
        using Words = WithLanes<uint32_t, V>;
        using Halves = WithLanes<uint16_t, V>;
        constexpr size_t wordsOfPixel = pixelBytes < 4 ? 1 : pixelBytes / 4;
        Words words = as<Words>(pixels);
        words = rearrange<ReversedRule<wordsOfPixel>>(words, words);
        if constexpr (pixelBytes < 4)
            words = words << 16 | words >> 16;
        Halves halves = as<Halves>(words);
        if constexpr (pixelBytes == 1)
            halves = halves << 8 | halves >> 8;
        return as<V>(halves);
    }
}

// --- Pixel by pixel --------------------------------------------------------------------

// A fixed size of 0 stands for the one that is given.
template<size_t fixedBytes>
void reversePixels(uint8_t* dst, const uint8_t* src, size_t pixels, size_t pixelBytes)
{
    const size_t bytes = fixedBytes ? fixedBytes : pixelBytes;
    const uint8_t* from = src + pixels * bytes;
    for (size_t i = 0; i < pixels; ++i, dst += bytes) {
        from -= bytes;
        __builtin_memcpy(dst, from, bytes);
    }
}

void swapBytes(uint8_t* a, uint8_t* b, size_t bytes)
{
    QUIB_INDEPENDENT
    for (size_t i = 0; i < bytes; ++i) {
        const uint8_t byte = a[i];
        a[i] = b[i];
        b[i] = byte;
    }
}

template<size_t fixedBytes>
void swapPixels(uint8_t* a, uint8_t* b, size_t pixelBytes)
{
    if constexpr (fixedBytes == 0)
        return swapBytes(a, b, pixelBytes);
    uint8_t pixel[fixedBytes ? fixedBytes : 1];
    __builtin_memcpy(pixel, a, fixedBytes);
    __builtin_memcpy(a, b, fixedBytes);
    __builtin_memcpy(b, pixel, fixedBytes);
}

// The first row forwards, the second one from its end: `count` pixels of each.
template<size_t fixedBytes>
void exchangePixels(uint8_t* a, uint8_t* bEnd, size_t count, size_t pixelBytes)
{
    const size_t bytes = fixedBytes ? fixedBytes : pixelBytes;
    for (size_t i = 0; i < count; ++i, a += bytes) {
        bEnd -= bytes;
        if (a != bEnd)
            swapPixels<fixedBytes>(a, bEnd, bytes);
    }
}

// --- Rows ----------------------------------------------------------------------------------

// Where the rows are one, it is enough to go as far as its middle.
size_t exchangeCount(const uint8_t* a, const uint8_t* b, size_t pixels)
{
    return a == b ? pixels / 2 : pixels;
}

template<size_t pixelBytes>
void reverseByLoop(uint8_t* dst, const uint8_t* src, size_t pixels, size_t given)
{
    reversePixels<pixelBytes>(dst, src, pixels, given);
}

template<size_t pixelBytes>
void exchangeByLoop(uint8_t* a, uint8_t* b, size_t pixels, size_t given)
{
    const size_t bytes = pixelBytes ? pixelBytes : given;
    exchangePixels<pixelBytes>(a, b + pixels * bytes, exchangeCount(a, b, pixels), given);
}

// Gives how many bytes are done. Reads forwards: the processor reads ahead of that
// better than of the other direction.
template<size_t pixelBytes, class V>
size_t reverseVectors(uint8_t* dstEnd, const uint8_t* src, size_t done, size_t bytes)
{
    for (; done + sizeof(V) <= bytes; done += sizeof(V))
        store(dstEnd - done - sizeof(V), reversed<pixelBytes>(load<V>(src + done)));
    return done;
}

template<size_t pixelBytes, class V>
size_t exchangeVectors(uint8_t* a, uint8_t* bEnd, size_t done, size_t bytes)
{
    for (; done + sizeof(V) <= bytes; done += sizeof(V)) {
        uint8_t* const b = bEnd - done - sizeof(V);
        const V fromA = load<V>(a + done);
        const V fromB = load<V>(b);
        store(a + done, reversed<pixelBytes>(fromB));
        store(b, reversed<pixelBytes>(fromA));
    }
    return done;
}

template<size_t pixelBytes>
void reverseByVectors(uint8_t* dst, const uint8_t* src, size_t pixels, size_t)
{
    const size_t bytes = pixels * pixelBytes;
    uint8_t* const dstEnd = dst + bytes;
    size_t done = reverseVectors<pixelBytes, U8<>>(dstEnd, src, 0, bytes);
    done = reverseVectors<pixelBytes, U8<16>>(dstEnd, src, done, bytes);
    if (done < bytes && bytes >= 16)
        done = reverseVectors<pixelBytes, U8<16>>(dstEnd, src, bytes - 16, bytes);
    reversePixels<pixelBytes>(dst, src + done, (bytes - done) / pixelBytes, pixelBytes);
}

template<size_t pixelBytes>
void exchangeByVectors(uint8_t* a, uint8_t* b, size_t pixels, size_t)
{
    uint8_t* const bEnd = b + pixels * pixelBytes;
    const size_t bytes = exchangeCount(a, b, pixels) * pixelBytes;
    size_t done = exchangeVectors<pixelBytes, U8<>>(a, bEnd, 0, bytes);
    done = exchangeVectors<pixelBytes, U8<16>>(a, bEnd, done, bytes);
    exchangePixels<pixelBytes>(a + done, bEnd - done, (bytes - done) / pixelBytes, pixelBytes);
}

// Five pixels of three bytes: the first 15 bytes of a vector that come from the
// last 15 of another one. The byte that is left over is taken from `rest`.
U8<16> fiveToFront(U8<16> pixels, U8<16> rest)
{
    return __builtin_shufflevector(pixels, rest, 13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3,
                                   31);
}
U8<16> fiveToBack(U8<16> pixels, U8<16> rest)
{
    return __builtin_shufflevector(pixels, rest, 16, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1,
                                   2);
}

void reverseTriplesByVectors(uint8_t* dst, const uint8_t* src, size_t pixels, size_t)
{
    const uint8_t* end = src + pixels * 3;
    // The byte too many belongs to a pixel that follows.
    for (; pixels > 5; pixels -= 5, dst += 15, end -= 15) {
        const U8<16> from = load<U8<16>>(end - 16);
        store(dst, fiveToFront(from, from));
    }
    reversePixels<3>(dst, src, pixels, 3);
}

void exchangeTriplesByVectors(uint8_t* a, uint8_t* b, size_t pixels, size_t)
{
    uint8_t* bEnd = b + pixels * 3;
    size_t count = exchangeCount(a, b, pixels);
    for (; count > 5; count -= 5, a += 15, bEnd -= 15) {
        const U8<16> fromA = load<U8<16>>(a);
        const U8<16> fromB = load<U8<16>>(bEnd - 16);
        store(a, fiveToFront(fromB, fromA));
        store(bEnd - 16, fiveToBack(fromA, fromB));
    }
    exchangePixels<3>(a, bEnd, count, 3);
}

constexpr auto reverseTriples = looksUpBytes ? reverseTriplesByVectors : reverseByLoop<3>;
constexpr auto exchangeTriples = looksUpBytes ? exchangeTriplesByVectors : exchangeByLoop<3>;

// --- Large images ------------------------------------------------------------------------

// So many bytes go past the caches: with their source, these would not hold them.
constexpr size_t largeImage = 2'000'000;

// How many bytes before an address that stream() takes.
template<class V>
QUIB_INLINE size_t bytesToAlignment(const void* address)
{
    return -reinterpret_cast<uintptr_t>(address) % sizeof(V);
}

// A row of `bytes` bytes of pixels whose size divides that of the vector, or as they
// are if it is 0. Its start is aligned to a pixel.
template<size_t pixelBytes>
QUIB_INLINE void streamRow(uint8_t* dst, const uint8_t* src, size_t bytes)
{
    using V = U8<>;
    const auto part = [&](size_t from, size_t count) {
        if constexpr (pixelBytes == 0)
            __builtin_memcpy(dst + from, src + from, count);
        else
            reverseByVectors<pixelBytes>(dst + from, src + bytes - from - count, count / pixelBytes,
                                         pixelBytes);
    };
    const size_t toAlignment = bytesToAlignment<V>(dst);
    const size_t head = toAlignment < bytes ? toAlignment : bytes;
    part(0, head);
    size_t done = head;
    for (; done + sizeof(V) <= bytes; done += sizeof(V)) {
        if constexpr (pixelBytes == 0)
            stream(dst + done, load<V>(src + done));
        else
            stream(dst + done, reversed<pixelBytes>(load<V>(src + bytes - done - sizeof(V))));
    }
    part(done, bytes - done);
}

template<size_t pixelBytes>
void streamRows(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                size_t bytes, size_t rows)
{
    for (size_t y = 0; y < rows; ++y, dst += dstStep, src += srcStep)
        streamRow<pixelBytes>(dst, src, bytes);
    endStreaming();
}

// Whether each row starts at a whole pixel of one, two ... bytes.
bool areAligned(const uint8_t* dst, ptrdiff_t dstStep, size_t pixelBytes)
{
    return (reinterpret_cast<uintptr_t>(dst) | static_cast<uintptr_t>(dstStep)) % pixelBytes == 0;
}

void copyRows(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep, size_t bytes,
              size_t rows)
{
    if (bytes * rows >= largeImage)
        return streamRows<0>(dst, dstStep, src, srcStep, bytes, rows);
    for (size_t y = 0; y < rows; ++y, dst += dstStep, src += srcStep)
        __builtin_memmove(dst, src, bytes);
}

// --- Columns into rows -----------------------------------------------------------------

// The vectors that hold 4 pixels, of each of so many rows that these fill a row.
constexpr size_t tileRows = wide / 4;

// `lanes` rows of four pixels into four rows.
QUIB_INLINE void transposeTile(U32<> (&v)[4], const uint8_t* src, ptrdiff_t srcStep)
{
    for (ptrdiff_t j = 0; j < 4; ++j) {
        if constexpr (wide == 16)
            __builtin_memcpy(&v[j], src + j * srcStep, wide);
        else
            v[j] = join(load<U32<wide / 2>>(src + j * srcStep),
                        load<U32<wide / 2>>(src + (j + 4) * srcStep));
    }
    using Pairs = U64<>;
    const Pairs low01 = as<Pairs>(interleaveLow(v[0], v[1]));
    const Pairs low23 = as<Pairs>(interleaveLow(v[2], v[3]));
    const Pairs high01 = as<Pairs>(interleaveHigh(v[0], v[1]));
    const Pairs high23 = as<Pairs>(interleaveHigh(v[2], v[3]));
    v[0] = as<U32<>>(interleaveLow(low01, low23));
    v[1] = as<U32<>>(interleaveHigh(low01, low23));
    v[2] = as<U32<>>(interleaveLow(high01, high23));
    v[3] = as<U32<>>(interleaveHigh(high01, high23));
}

void transposePixels(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                     size_t columns, size_t rows)
{
    for (size_t i = 0; i < rows; ++i, dst += dstStep, src += 4)
        for (size_t j = 0; j < columns; ++j)
            __builtin_memcpy(dst + 4 * j, src + static_cast<ptrdiff_t>(j) * srcStep, 4);
}

// The columns of dst that are made at a time fill a line of the caches.
constexpr size_t stripColumns = 16;

template<bool streams, class V>
QUIB_INLINE void putTile(uint8_t* to, V v)
{
    if constexpr (streams)
        stream(to, v);
    else
        store(to, v);
}

template<bool streams>
QUIB_INLINE void transposeStrip(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src,
                                ptrdiff_t srcStep, size_t rows)
{
    size_t i = 0;
    for (; i + 4 <= rows; i += 4, dst += 4 * dstStep, src += 16) {
        constexpr size_t tiles = stripColumns / tileRows;
        U32<> v[tiles][4];
        for (size_t k = 0; k < tiles; ++k)
            transposeTile(v[k], src + static_cast<ptrdiff_t>(k * tileRows) * srcStep, srcStep);
        for (size_t r = 0; r < 4; ++r)
            for (size_t k = 0; k < tiles; ++k)
                putTile<streams>(dst + static_cast<ptrdiff_t>(r) * dstStep + k * wide, v[k][r]);
    }
    transposePixels(dst, dstStep, src, srcStep, stripColumns, rows - i);
}

void transpose(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
               size_t columns, size_t rows)
{
    const bool streams =
        columns * rows * 4 >= largeImage && areAligned(dst, dstStep, 4) && dstStep % wide == 0;
    size_t done = streams ? bytesToAlignment<U8<64>>(dst) / 4 : 0;
    done = done < columns ? done : columns;
    transposePixels(dst, dstStep, src, srcStep, done, rows);
    for (; done + stripColumns <= columns; done += stripColumns) {
        uint8_t* const to = dst + 4 * done;
        const uint8_t* const from = src + static_cast<ptrdiff_t>(done) * srcStep;
        if (streams)
            transposeStrip<true>(to, dstStep, from, srcStep, rows);
        else
            transposeStrip<false>(to, dstStep, from, srcStep, rows);
    }
    transposePixels(dst + 4 * done, dstStep, src + static_cast<ptrdiff_t>(done) * srcStep, srcStep,
                    columns - done, rows);
    if (streams)
        endStreaming();
}

// --- Forms ---------------------------------------------------------------------------------

struct MirrorForms {
    void (*reverse)(uint8_t* dst, const uint8_t* src, size_t pixels, size_t pixelBytes);
    void (*exchange)(uint8_t* a, uint8_t* b, size_t pixels, size_t pixelBytes);
};

template<size_t pixelBytes>
constexpr MirrorForms vectorForms{reverseByVectors<pixelBytes>, exchangeByVectors<pixelBytes>};
template<size_t pixelBytes>
constexpr MirrorForms loopForms{reverseByLoop<pixelBytes>, exchangeByLoop<pixelBytes>};

const MirrorForms& mirrorForms(size_t pixelBytes)
{
    // By size; the one that is not here has no form of its own.
    static constexpr MirrorForms forms[17] = {
        loopForms<0>,   vectorForms<1>, vectorForms<2>, {reverseTriples, exchangeTriples},
        vectorForms<4>, loopForms<0>,   loopForms<6>,   loopForms<0>,
        vectorForms<8>, loopForms<0>,   loopForms<0>,   loopForms<0>,
        loopForms<12>,  loopForms<0>,   loopForms<0>,   loopForms<0>,
        vectorForms<16>};
    return forms[pixelBytes <= 16 ? pixelBytes : 0];
}

void reverse(uint8_t* dst, const uint8_t* src, size_t pixels, size_t pixelBytes)
{
    mirrorForms(pixelBytes).reverse(dst, src, pixels, pixelBytes);
}

void reverseRows(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                 size_t pixels, size_t pixelBytes, size_t rows)
{
    const size_t bytes = pixels * pixelBytes;
    if (pixelBytes == 4 && bytes * rows >= largeImage && areAligned(dst, dstStep, pixelBytes))
        return streamRows<4>(dst, dstStep, src, srcStep, bytes, rows);
    const auto run = mirrorForms(pixelBytes).reverse;
    for (size_t y = 0; y < rows; ++y, dst += dstStep, src += srcStep)
        run(dst, src, pixels, pixelBytes);
}

void exchange(uint8_t* a, uint8_t* b, size_t pixels, size_t pixelBytes)
{
    mirrorForms(pixelBytes).exchange(a, b, pixels, pixelBytes);
}

// --- Bits --------------------------------------------------------------------------------

// The bits of each byte, the last one first.
template<class T>
T reversedInBytes(T bits)
{
    bits = (bits >> 4 & T(0x0F0F0F0F0F0F0F0F)) | (bits & T(0x0F0F0F0F0F0F0F0F)) << 4;
    bits = (bits >> 2 & T(0x3333333333333333)) | (bits & T(0x3333333333333333)) << 2;
    return (bits >> 1 & T(0x5555555555555555)) | (bits & T(0x5555555555555555)) << 1;
}

// The `count` (1 to 8) bits before `srcEnd` into one byte of dst.
void reverseFewBits(uint8_t* dst, size_t dstStart, const uint8_t* src, size_t srcEnd, size_t count)
{
    const uint32_t from = loadBits(src, srcEnd - count, count) >> (8 - count);
    const uint32_t bits = reversedInBytes(from) & 0xFF;
    const size_t offset = dstStart & 7;
    const uint32_t mask = (0xFF00u >> count & 0xFF) >> offset;
    uint8_t* byte = dst + (dstStart >> 3);
    *byte = static_cast<uint8_t>((*byte & ~mask) | (bits >> offset & mask));
}

void reverseBitRow(uint8_t* dst, size_t dstStart, const uint8_t* src, size_t srcStart, size_t width)
{
    const size_t srcEnd = srcStart + width;
    const size_t toByte = (8 - (dstStart & 7)) & 7;
    size_t done = toByte < width ? toByte : width;
    if (done > 0)
        reverseFewBits(dst, dstStart, src, srcEnd, done);

    // A word reads the byte before it, which holds bits of the row too if any
    // are left.
    const size_t words = width > done ? (width - done - 1) / 64 : 0;
    const size_t end = srcEnd - done;
    const uint8_t* in = src + ((end + 7) >> 3);
    uint8_t* out = dst + ((dstStart + done) >> 3);
    const size_t spare = (8 - (end & 7)) & 7;
    for (size_t i = 0; i < words; ++i, out += 8) {
        in -= 8;
        uint64_t word;
        uint64_t before;
        __builtin_memcpy(&word, in, 8);
        __builtin_memcpy(&before, in - 1, 8);
        word = __builtin_bswap64(word) >> spare | __builtin_bswap64(before) << (8 - spare);
        word = reversedInBytes(word);
        __builtin_memcpy(out, &word, 8);
    }
    for (done += words * 64; done < width; done += 8)
        reverseFewBits(dst, dstStart + done, src, srcEnd - done,
                       width - done < 8 ? width - done : 8);
}

void reverseBits(BitRows<uint8_t> dst, BitRows<const uint8_t> src, size_t width, size_t height)
{
    for (size_t y = 0; y < height; ++y, dst.bytes += dst.step, src.bytes += src.step)
        reverseBitRow(dst.bytes, static_cast<size_t>(dst.start), src.bytes,
                      static_cast<size_t>(src.start), width);
}

} // namespace

constinit const MirrorKernels mirrorKernels{
    .reverse = reverse,
    .reverseRows = reverseRows,
    .copyRows = copyRows,
    .transpose = transpose,
    .exchange = exchange,
    .swap = swapBytes,
    .reverseBits = reverseBits,
};

} // namespace quib::QUIB_LEVEL
