#include "_Src/window/convrows.h"

#include "kernels/kernels.h"

#include <algorithm>
#include <limits>

namespace
{

quib::ConvolveElement elementOf(uint32_t depth)
{
    switch (depth) {
    case IPL_DEPTH_8S:
        return quib::convolveS8;
    case IPL_DEPTH_16U:
        return quib::convolveU16;
    case IPL_DEPTH_16S:
        return quib::convolveS16;
    case IPL_DEPTH_32S:
        return quib::convolveS32;
    default:
        return quib::convolveU8;
    }
}

quib::ConvolveStep stepOf(int32_t method)
{
    switch (method) {
    case IPL_CONV_SQUARES:
    case IPL_CONV_ROOT:
        return quib::convolveAddSquares;
    case IPL_CONV_LARGEST:
        return quib::convolveKeepLarger;
    case IPL_CONV_SMALLEST:
        return quib::convolveKeepSmaller;
    default:
        return quib::convolveAdd;
    }
}

// What a step can start from.
template<class Number>
Number startOf(int32_t method, Number most)
{
    if (method == IPL_CONV_LARGEST)
        return -most;
    return method == IPL_CONV_SMALLEST ? most : 0;
}

} // namespace

struct IplConvRows::Row {
    void* result;
    const uint8_t* const* rows;
    int64_t pixelBytes;
    size_t count;
};

IplConvRows::IplConvRows(const OwnConvKernel* const* kernels, int32_t nKernels, int32_t combining,
                         uint32_t depth, int64_t most)
    : plans(kernels, nKernels, depth), method(combining), bits(depth == IPL_DEPTH_1U),
      element(elementOf(depth)), elementBytes(ownElementBytes(depth)), sums(most), floats(most),
      combined(most)
{
}

bool IplConvRows::isReady() const
{
    return plans.isReady() && sums.data && floats.data && combined.data;
}

bool IplConvRows::hasOnly(IplConvArithmetic arithmetic) const
{
    for (int32_t i = 0; i < plans.count(); ++i)
        if (plans[i].arithmetic != arithmetic)
            return false;
    return true;
}

// The results of one kernel as they are. Whole numbers too large for a float are
// larger than any element too, so that it makes no difference that they stay whole.
void IplConvRows::makeAlone(const Row& row) const
{
    const quib::ConvolveKernels& kernels = quib::kernels().convolve;
    const quib::ConvolveTerms terms = plans.terms(0, row.rows, row.pixelBytes);
    const IplConvPlan& plan = plans[0];
    if (plan.arithmetic == IplConvArithmetic::words) {
        int16_t* words = reinterpret_cast<int16_t*>(sums.data);
        kernels.sums16[element](words, terms, plan.shift, row.count);
        kernels.finish16[element](row.result, words, row.count);
    } else {
        kernels.sums32[element](sums.data, terms, plan.shift, row.count);
        kernels.finish32[element](row.result, sums.data, row.count);
    }
}

void IplConvRows::makeOfWords(const Row& row) const
{
    const quib::ConvolveKernels& kernels = quib::kernels().convolve;
    int16_t* words = reinterpret_cast<int16_t*>(sums.data);
    std::fill_n(combined.data, row.count, startOf<int32_t>(method, INT32_MAX));
    for (int32_t i = 0; i < plans.count(); ++i) {
        kernels.sums16[element](words, plans.terms(i, row.rows, row.pixelBytes), plans[i].shift,
                                row.count);
        kernels.step16[stepOf(method)](combined.data, words, row.count);
    }
    if (method == IPL_CONV_ROOT)
        kernels.roots(combined.data, row.count);
    kernels.finish32[element](row.result, combined.data, row.count);
}

void IplConvRows::addFloats(const Row& row, int32_t kernel) const
{
    const quib::ConvolveKernels& kernels = quib::kernels().convolve;
    const quib::ConvolveTerms terms = plans.terms(kernel, row.rows, row.pixelBytes);
    const IplConvPlan& plan = plans[kernel];
    if (plan.arithmetic == IplConvArithmetic::words) {
        int16_t* words = reinterpret_cast<int16_t*>(sums.data);
        kernels.sums16[element](words, terms, plan.shift, row.count);
        kernels.floatsOf16(floats.data, words, row.count);
    } else if (plan.arithmetic == IplConvArithmetic::doubleWords) {
        kernels.sums32[element](sums.data, terms, plan.shift, row.count);
        kernels.floatsOf32(floats.data, sums.data, row.count);
    } else {
        kernels.sumsFloat[element](floats.data, terms, plan.multiplier, row.count);
    }
    kernels.stepFloat[stepOf(method)](reinterpret_cast<float*>(combined.data), floats.data,
                                      row.count);
}

void IplConvRows::makeOfFloats(const Row& row) const
{
    const quib::ConvolveKernels& kernels = quib::kernels().convolve;
    float* all = reinterpret_cast<float*>(combined.data);
    std::fill_n(all, row.count, startOf<float>(method, std::numeric_limits<float>::infinity()));
    for (int32_t i = 0; i < plans.count(); ++i)
        addFloats(row, i);
    if (method == IPL_CONV_ROOT)
        kernels.rootsFloat(all, row.count);
    kernels.finishFloat[element](row.result, all, row.count);
}

void IplConvRows::make(void* result, const uint8_t* const* rows, int32_t channels,
                       int64_t count) const
{
    const Row row{result, rows, elementBytes * channels, static_cast<size_t>(count)};
    const bool unchanged = method != IPL_CONV_SQUARES && method != IPL_CONV_ROOT;
    if (plans.count() == 1 && unchanged && plans[0].arithmetic != IplConvArithmetic::floats)
        makeAlone(row);
    else if (hasOnly(IplConvArithmetic::words))
        makeOfWords(row);
    else
        makeOfFloats(row);
    if (bits)
        for (size_t i = 0; i < row.count; ++i)
            static_cast<uint8_t*>(result)[i] = static_cast<uint8_t*>(result)[i] != 0;
}
