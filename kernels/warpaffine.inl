// Affine maps of four-byte pixels, nearest and bilinear, without places in memory:
// a vector of positions, both axes in its words, becomes a vector of pixels. A piece
// of warp.cpp.
namespace
{

// A source whose coordinates are words.
struct AffineSource {
    const uint8_t* pixels;
    ptrdiff_t step;
    I16<> scales; // of x and y to a pixel's number
    I16<> last;   // x and y of the last pixel
};

I16<> affinePair(int32_t x, int32_t y)
{
    const uint32_t pair = static_cast<uint32_t>(y) << 16 | (static_cast<uint32_t>(x) & 0xFFFF);
    return as<I16<>>(spread<U32<>>(pair));
}

AffineSource affineSource(const WarpSource& src)
{
    return {static_cast<const uint8_t*>(src.pixels), src.step,
            affinePair(1, static_cast<int32_t>(src.step / 4)), affinePair(src.maxX, src.maxY)};
}

bool warpTakesAffineWords(const WarpTarget& dst, const WarpSource& src)
{
    const ptrdiff_t perRow = src.step / 4;
    return warpTakesWords(dst, src) && src.step % 4 == 0 && perRow <= INT16_MAX &&
           perRow >= INT16_MIN && src.maxX <= INT16_MAX && src.maxY <= INT16_MAX;
}

// How many pixels are fetched ahead at a time: several vectors of vectors.
constexpr size_t affineChunk = 512;

// --- Positions -----------------------------------------------------------------------

struct AffineLanes {
    U32<> x;
    U32<> y;
    U32<> dx; // to the next vector
    U32<> dy;
};

void advance(AffineLanes* lanes)
{
    lanes->x += lanes->dx;
    lanes->y += lanes->dy;
}

// Each `every`th position of a run, or of the one so many rows below it.
AffineLanes affineLanes(const WarpFixed& run, size_t start, uint32_t every, uint32_t rowsBelow)
{
    const U32<> number = as<U32<>>(warpLaneNumbers()) * every + static_cast<uint32_t>(start);
    const auto at = [&](uint32_t first, uint32_t step, uint32_t row) {
        return number * step + (first + rowsBelow * row);
    };
    const auto perVector = [=](uint32_t step) {
        return spread<U32<>>(step * every * static_cast<uint32_t>(warpSlack));
    };
    return {at(run.x, run.dx, run.rowX), at(run.y, run.dy, run.rowY), perVector(run.dx),
            perVector(run.dy)};
}

// x and y of pixels, cut, wherever they are.
I16<> affineWhole(const AffineLanes& lanes)
{
    return mix<0, 1>(as<I16<>>(lanes.x >> 16), as<I16<>>(lanes.y));
}

// Held inside the source, up to `last`.
I32<> affineOffsets(const AffineSource& src, I16<> whole, I16<> last)
{
    const I16<> pixel = smaller(larger(whole, I16<>{}), last);
    return pairProducts(pixel, src.scales) << 2;
}

// What a row some way below will read, for each vector of this one: offsets. A turned
// picture's rows cross so many rows of the source that the processor does not see by
// itself what comes; of neighbours one is enough, because lines are longer.
void aimAffineFetches(int32_t* offsets, const AffineSource& src, const WarpFixed& run, size_t start,
                      size_t count)
{
    constexpr uint32_t rowsBelow = 8;
    constexpr size_t every = warpSlack;
    AffineLanes lanes = affineLanes(run, start, every, rowsBelow);
    for (size_t i = 0; i < count; i += every * warpSlack, advance(&lanes))
        store(offsets + i / every, affineOffsets(src, affineWhole(lanes), src.last));
}

// --- Bilinear windows ------------------------------------------------------------------
//
// A weight f of 14 bits serves as -2f, which is a word even where f is 0x4000. Then
// the high half of a product is what a sum of two weighted values is cut to:
// (a (0x4000 - f) + b f) >> 8 = 64 a + ((b - a) f >> 8), the last being the high half
// of 128 (a - b) * -2f; and in columns, where 0x80000 is added and 20 bits are cut,
// the same to 14 bits, and then 32 and 6.

// How many vectors of windows there are for one of positions.
constexpr size_t affineParts = 2 * wide / longest;

// The weights -2f of x and y. Beyond an edge the outer pixel of a window has it all.
I16<> affineWeights(const AffineSource& src, const AffineLanes& lanes, I16<> whole)
{
    const U16<> rest = as<U16<>>(mix<0, 1>(as<I16<>>(lanes.x), as<I16<>>(lanes.y << 16)));
    const I16<> inside = -as<I16<>>((rest >> 1) & 0x7FFE);
    const I16<> isBefore = whole < 0;
    const I16<> isBeyond = whole >= src.last;
    return (inside & ~isBefore & ~isBeyond) | (isBeyond & INT16_MIN);
}

// Pairs of lanes of that part, each pair twice.
template<size_t part, size_t... i>
I16<longest> affinePairs(I16<> weights, Places<i...>)
{
    const U64<> pairs = as<U64<>>(weights);
    return as<I16<longest>>(
        __builtin_shufflevector(pairs, pairs, (part * longest / 16 + i / 2)...));
}

// The left or the right pixels of two in a row, as words.
template<bool right>
I16<longest> affineColumn(U8<longest> pixels)
{
    if constexpr (looksUpBytes) {
        constexpr uint8_t none = 0x80;
        constexpr uint8_t at = right ? 4 : 0;
        constexpr U8<16> places{at,     none, at + 1, none, at + 2,  none, at + 3,  none,
                                at + 8, none, at + 9, none, at + 10, none, at + 11, none};
        return as<I16<longest>>(lookUp(pixels, spreadPart<U8<longest>>(places)));
    }
    const U64<longest> first = as<U64<longest>>(widenLow(pixels));
    const U64<longest> second = as<U64<longest>>(widenHigh(pixels));
    return as<I16<longest>>(right ? interleaveHigh(first, second) : interleaveLow(first, second));
}

// With 6 fraction bits.
I16<longest> affineRow(U8<longest> pixels, I16<longest> weights)
{
    const I16<longest> left = affineColumn<false>(pixels);
    const I16<longest> right = affineColumn<true>(pixels);
    return (left << 6) + highProducts((left - right) << 7, weights);
}

template<size_t part>
U16<longest> affineWindows(const AffineSource& src, const int32_t* offsets, I16<> weights)
{
    const int32_t* from = offsets + part * (longest / 8);
    const auto pairs = affinePairs<part>(weights, typename PlacesUpTo<longest / 8>::Type{});
    const I16<longest> fx = inGroups<0, 0, 0, 0, 6, 6, 6, 6>(pairs);
    const I16<longest> fy = inGroups<1, 1, 1, 1, 7, 7, 7, 7>(pairs);
    const auto gathered = [=](const uint8_t* row) {
        return as<U8<longest>>(gather<U64<longest>>(row, from));
    };
    const I16<longest> top = affineRow(gathered(src.pixels), fx);
    const I16<longest> bottom = affineRow(gathered(src.pixels + src.step), fx);
    return as<U16<longest>>(top + 32 + highProducts((top - bottom) << 1, fy)) >> 6;
}

template<class V>
U8<> affineBytes(V first, V second)
{
    if constexpr (affineParts == 1)
        return cutToU8(first);
    else
        return inOrderOfPack(packToU8(first, second));
}

// --- Runs ------------------------------------------------------------------------------

template<WarpMode mode>
U8<> affineWords(const AffineSource& src, const AffineLanes& lanes)
{
    const I16<> whole = affineWhole(lanes);
    int32_t offsets[warpSlack];
    if constexpr (mode == warpNearest) {
        store(offsets, affineOffsets(src, whole, src.last));
        return as<U8<>>(gather<U32<>>(src.pixels, offsets));
    }
    store(offsets, affineOffsets(src, whole, src.last - 1));
    const I16<> weights = affineWeights(src, lanes, whole);
    if constexpr (affineParts == 1) {
        const auto windows = affineWindows<0>(src, offsets, weights);
        return affineBytes(windows, windows);
    } else {
        // Loads take offsets from memory sooner than from the lanes of a vector.
        asm("" : "+m"(offsets));
        return affineBytes(affineWindows<0>(src, offsets, weights),
                           affineWindows<1>(src, offsets, weights));
    }
}

// As many whole vectors as there are from start on.
template<WarpMode mode>
void warpAffineVectors(uint8_t* out, const AffineSource& src, const WarpFixed& run, size_t start,
                       size_t count)
{
    int32_t ahead[affineChunk / warpSlack];
    aimAffineFetches(ahead, src, run, start, count);
    AffineLanes lanes = affineLanes(run, start, 1, 0);
    for (size_t i = 0; i + warpSlack <= count; i += warpSlack, advance(&lanes)) {
        __builtin_prefetch(src.pixels + ahead[i / warpSlack]);
        store(out + i * 4, affineWords<mode>(src, lanes));
    }
}

// What is less than a vector, or has bytes that take no part.
template<WarpMode mode>
void warpAffineParts(uint8_t* out, int32_t channels, const AffineSource& src, const WarpFixed& run,
                     size_t start, size_t count)
{
    AffineLanes lanes = affineLanes(run, start, 1, 0);
    for (size_t i = 0; i < count; i += warpSlack, advance(&lanes))
        storeWarpWords(out + i * 4, affineWords<mode>(src, lanes), channels, count - i);
}

template<WarpMode mode>
void warpAffineWords(const WarpTarget& dst, const WarpSource& source, const WarpFixed& run,
                     size_t count)
{
    const AffineSource src = affineSource(source);
    uint8_t* out = static_cast<uint8_t*>(dst.pixels);
    size_t done = 0;
    if (dst.channels == 4 && count >= warpSlack) {
        for (size_t start = 0; start < count; start += affineChunk)
            warpAffineVectors<mode>(out + start * 4, src, run, start,
                                    count - start < affineChunk ? count - start : affineChunk);
        // The last vector once more, up to the end.
        done = count - warpSlack;
    }
    warpAffineParts<mode>(out + done * 4, dst.channels, src, run, done, count - done);
}

} // namespace
