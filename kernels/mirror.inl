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

// Gives how many bytes are done.
template<size_t pixelBytes, class V>
size_t reverseVectors(uint8_t* dst, const uint8_t* srcEnd, size_t done, size_t bytes)
{
    for (; done + sizeof(V) <= bytes; done += sizeof(V))
        store(dst + done, reversed<pixelBytes>(load<V>(srcEnd - done - sizeof(V))));
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
    const uint8_t* const srcEnd = src + bytes;
    size_t done = reverseVectors<pixelBytes, U8<>>(dst, srcEnd, 0, bytes);
    done = reverseVectors<pixelBytes, U8<16>>(dst, srcEnd, done, bytes);
    if (done < bytes && bytes >= 16)
        done = reverseVectors<pixelBytes, U8<16>>(dst, srcEnd, bytes - 16, bytes);
    reversePixels<pixelBytes>(dst + done, src, (bytes - done) / pixelBytes, pixelBytes);
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

#if defined(QUIB_HAS_AVX2)
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

void reverseTriples(uint8_t* dst, const uint8_t* src, size_t pixels, size_t)
{
    const uint8_t* end = src + pixels * 3;
    // The byte too many belongs to a pixel that follows.
    for (; pixels > 5; pixels -= 5, dst += 15, end -= 15) {
        const U8<16> from = load<U8<16>>(end - 16);
        store(dst, fiveToFront(from, from));
    }
    reversePixels<3>(dst, src, pixels, 3);
}

void exchangeTriples(uint8_t* a, uint8_t* b, size_t pixels, size_t)
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
#else
constexpr auto reverseTriples = reverseByLoop<3>;
constexpr auto exchangeTriples = exchangeByLoop<3>;
#endif

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

constexpr MirrorKernels mirrorKernels{
    .reverse = reverse,
    .exchange = exchange,
    .swap = swapBytes,
    .reverseBits = reverseBits,
};

} // namespace
