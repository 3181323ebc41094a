#include "_Src/window/convplan.h"

#include "_Src/image/check.h"

#include <algorithm>
#include <cstring>

namespace
{

int64_t tapCount(const OwnConvKernel* kernel)
{
    return static_cast<int64_t>(kernel->nCols) * kernel->nRows;
}

struct Range {
    double low;
    double high;

    bool isWithin(double least, double most) const { return low >= least && high <= most; }
};

Range rangeOf(uint32_t depth)
{
    if (depth == IPL_DEPTH_1U)
        return {0, 1};
    return {static_cast<double>(ownClampToDepth(depth, INT32_MIN)),
            static_cast<double>(ownClampToDepth(depth, INT32_MAX))};
}

// Of a tap times any element.
Range productsOf(int32_t tap, const Range& elements)
{
    const double ofLow = tap * elements.low;
    const double ofHigh = tap * elements.high;
    return {std::min(ofLow, ofHigh), std::max(ofLow, ofHigh)};
}

// Taps that a call lists for a kernel: an even number.
int64_t listedTaps(const OwnConvKernel* kernel)
{
    const int64_t zeros = std::count(kernel->values, kernel->values + tapCount(kernel), 0);
    return (tapCount(kernel) - zeros + 1) & ~int64_t{1};
}

int64_t listedTaps(const OwnConvKernel* const* kernels, int32_t nKernels)
{
    int64_t sum = 0;
    for (int32_t i = 0; i < nKernels; ++i)
        sum += listedTaps(kernels[i]);
    return std::max<int64_t>(sum, 1);
}

// The patterns that stand for powers of two. From the tenth on they are not exact.
constexpr uint32_t multiplierPatterns[] = {
    0x3f800000, 0x3f000000, 0x3e800000, 0x3e000000, 0x3d800000, 0x3d000000, 0x3c800000, 0x3c000000,
    0x3b800000, 0x3b000015, 0x3a7fffd5, 0x39ffffd5, 0x397fffd5, 0x38ffffd5, 0x3880029a, 0x3800029a,
    0x3780029a, 0x3700029a, 0x367faf4d, 0x36002d8d, 0x357f0381, 0x3500d959, 0x3480d959, 0x3400d959};

} // namespace

IplConvArithmetic ownConvArithmetic(const OwnConvKernel* kernel, uint32_t depth)
{
    if (ownDepthBits(depth) == 32)
        return IplConvArithmetic::floats;
    const Range elements = rangeOf(depth);
    bool fitsWords = ownDepthBits(depth) != 16;
    Range sums{0, 0};
    for (int64_t i = 0; i < tapCount(kernel); ++i) {
        const int32_t tap = kernel->values[i];
        const Range products = productsOf(tap, elements);
        sums.low += products.low;
        sums.high += products.high;
        fitsWords = fitsWords && tap >= INT16_MIN && tap <= INT16_MAX &&
                    products.isWithin(INT16_MIN, INT16_MAX);
    }
    if (fitsWords && sums.isWithin(INT16_MIN, INT16_MAX))
        return IplConvArithmetic::words;
    return sums.isWithin(INT32_MIN, INT32_MAX) ? IplConvArithmetic::doubleWords
                                               : IplConvArithmetic::floats;
}

float ownConvMultiplier(int32_t nShiftR)
{
    constexpr int32_t count = sizeof(multiplierPatterns) / sizeof(*multiplierPatterns);
    if (nShiftR >= count)
        return 0;
    float multiplier = 0;
    std::memcpy(&multiplier, &multiplierPatterns[std::max(nShiftR, 0)], sizeof(multiplier));
    return multiplier;
}

IplConvPlans::IplConvPlans(const OwnConvKernel* const* kernels, int32_t nKernels, uint32_t depth)
    : planCount(nKernels), length(listedTaps(kernels, nKernels)), places(length), taps(length),
      floats(length), bytePairs((length + 1) / 2), wordPairs((length + 1) / 2), elements(length)
{
    if (!isReady())
        return;
    int64_t first = 0;
    for (int32_t i = 0; i < nKernels; ++i) {
        const OwnConvKernel* kernel = kernels[i];
        plans[i] = {ownConvArithmetic(kernel, depth),
                    std::clamp(kernel->nShiftR, 0, 31),
                    ownConvMultiplier(kernel->nShiftR),
                    first,
                    0,
                    true,
                    true};
        list(kernel, &plans[i]);
        listPairs(&plans[i]);
        first += (plans[i].count + 1) & ~int64_t{1};
        extents.left = std::max(extents.left, kernel->anchorX);
        extents.top = std::max(extents.top, kernel->anchorY);
        extents.right = std::max(extents.right, kernel->nCols - 1 - kernel->anchorX);
        extents.bottom = std::max(extents.bottom, kernel->nRows - 1 - kernel->anchorY);
    }
}

bool IplConvPlans::isReady() const
{
    return places.data && taps.data && floats.data && bytePairs.data && wordPairs.data &&
           elements.data;
}

void IplConvPlans::list(const OwnConvKernel* kernel, IplConvPlan* plan) const
{
    const int32_t* tap = kernel->values;
    for (int32_t row = 0; row < kernel->nRows; ++row) {
        for (int32_t column = 0; column < kernel->nCols; ++column, ++tap) {
            if (*tap == 0)
                continue;
            const int64_t index = plan->first + plan->count++;
            places.data[index] = {column - kernel->anchorX, row - kernel->anchorY};
            taps.data[index] = *tap;
            floats.data[index] = static_cast<float>(*tap);
            plan->haveByteTaps = plan->haveByteTaps && *tap >= INT8_MIN && *tap <= INT8_MAX;
            plan->haveWordTaps = plan->haveWordTaps && *tap >= INT16_MIN && *tap <= INT16_MAX;
        }
    }
}

void IplConvPlans::listPairs(IplConvPlan* plan) const
{
    for (int64_t i = 0; i < plan->count; i += 2) {
        const int64_t index = plan->first + i;
        const bool alone = i + 1 == plan->count;
        if (alone)
            places.data[index + 1] = places.data[index];
        const uint32_t first = static_cast<uint32_t>(taps.data[index]);
        const uint32_t second = alone ? 0 : static_cast<uint32_t>(taps.data[index + 1]);
        bytePairs.data[index / 2] = ((first & 0xFF) | (second & 0xFF) << 8) * 0x10001u;
        wordPairs.data[index / 2] = (first & 0xFFFF) | second << 16;
    }
}

quib::ConvolveTerms IplConvPlans::terms(int32_t i, const uint8_t* const* rows,
                                        int64_t pixelBytes) const
{
    const IplConvPlan& plan = plans[i];
    const int64_t listed = (plan.count + 1) & ~int64_t{1};
    for (int64_t k = 0; k < listed; ++k) {
        const Place& place = places.data[plan.first + k];
        elements.data[k] =
            rows[extents.top + place.row] + static_cast<ptrdiff_t>(place.column * pixelBytes);
    }
    return {elements.data,
            taps.data + plan.first,
            floats.data + plan.first,
            static_cast<size_t>(plan.count),
            plan.haveByteTaps ? bytePairs.data + plan.first / 2 : nullptr,
            plan.haveWordTaps ? wordPairs.data + plan.first / 2 : nullptr};
}
