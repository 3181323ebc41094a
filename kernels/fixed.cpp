#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

template<class Element>
struct FixedRange;
template<>
struct FixedRange<uint8_t> {
    using Sum = int16_t;
    using Raised = uint16_t;
    static constexpr int32_t least = 0;
    static constexpr int32_t most = UINT8_MAX;
};
template<>
struct FixedRange<int8_t> {
    using Sum = int16_t;
    using Raised = uint16_t;
    static constexpr int32_t least = INT8_MIN;
    static constexpr int32_t most = INT8_MAX;
};
template<>
struct FixedRange<uint16_t> {
    using Sum = int32_t;
    using Raised = uint32_t;
    static constexpr int32_t least = 0;
    static constexpr int32_t most = UINT16_MAX;
};
template<>
struct FixedRange<int16_t> {
    using Sum = int32_t;
    using Raised = uint32_t;
    static constexpr int32_t least = INT16_MIN;
    static constexpr int32_t most = INT16_MAX;
};
template<>
struct FixedRange<int32_t> {
    using Sum = int64_t;
    using Raised = uint64_t;
    static constexpr int32_t least = INT32_MIN;
    static constexpr int32_t most = INT32_MAX;
};
template<>
struct FixedRange<float> {
    using Sum = double;
};

template<class Element>
using FixedSum = typename FixedRange<Element>::Sum;

// --- Sums ------------------------------------------------------------------------------

template<size_t taps, class In, class Sum>
QUIB_INLINE void fixedSumsOf(Sum* out, const FixedTerms& terms, size_t count)
{
    const In* elements[taps];
    Sum factors[taps];
    for (size_t k = 0; k < taps; ++k) {
        elements[k] = static_cast<const In*>(terms.elements[k]);
        factors[k] = static_cast<Sum>(terms.taps[k]);
    }
    QUIB_INDEPENDENT
    for (size_t i = 0; i < count; ++i) {
        Sum sum = static_cast<Sum>(factors[0] * elements[0][i]);
        for (size_t k = 1; k < taps; ++k)
            sum = static_cast<Sum>(sum + factors[k] * elements[k][i]);
        out[i] = sum;
    }
}

template<class In, class Sum>
void fixedSums(void* sums, const FixedTerms& terms, size_t count)
{
    Sum* const out = static_cast<Sum*>(sums);
    if (terms.count == 2)
        fixedSumsOf<2, In>(out, terms, count);
    else if (terms.count == 3)
        fixedSumsOf<3, In>(out, terms, count);
    else
        fixedSumsOf<5, In>(out, terms, count);
}

void fixedFloatSums(void* sums, const FixedTerms& terms, size_t count)
{
    double* const out = static_cast<double*>(sums);
    for (size_t k = 0; k < terms.count; ++k) {
        const float* const elements = static_cast<const float*>(terms.elements[k]);
        const double tap = terms.taps[k];
        for (size_t i = 0; i < count; ++i)
            out[i] = k == 0 ? tap * elements[i] : out[i] + tap * elements[i];
    }
}

// --- Results ---------------------------------------------------------------------------

template<class Element>
QUIB_INLINE Element fixedNearest(FixedSum<Element> sum)
{
    using Range = FixedRange<Element>;
    return static_cast<Element>(sum < Range::least  ? Range::least
                                : sum > Range::most ? Range::most
                                                    : sum);
}

// Counted from the least element on, sums are not negative.
template<int32_t divisor, class Element>
QUIB_INLINE FixedSum<Element> fixedQuotient(FixedSum<Element> sum)
{
    using Range = FixedRange<Element>;
    using Raised = typename Range::Raised;
    constexpr Raised bias =
        static_cast<Raised>(divisor / 2 - static_cast<int64_t>(divisor) * Range::least);
    const Raised raised = static_cast<Raised>(static_cast<Raised>(sum) + bias);
    return static_cast<FixedSum<Element>>(static_cast<FixedSum<Element>>(raised / divisor) +
                                          Range::least);
}

template<FixedForm form, class Element>
QUIB_INLINE Element fixedResult(FixedSum<Element> sum, Element middle, FixedSum<Element> number)
{
    using Sum = FixedSum<Element>;
    if constexpr (form == fixedAbsolute) {
        const Sum value = static_cast<Sum>(sum + number * middle);
        return fixedNearest<Element>(static_cast<Sum>(value < 0 ? -value : value));
    }
    if constexpr (form == fixedSaturated)
        return fixedNearest<Element>(static_cast<Sum>(sum + number * middle));
    if constexpr (form == fixedOver16)
        return static_cast<Element>(fixedQuotient<16, Element>(sum));
    if constexpr (form == fixedOver256)
        return static_cast<Element>(fixedQuotient<256, Element>(sum));
    constexpr int32_t divisor = form == fixedLessOver9 ? 9 : 25;
    const Sum mean = fixedQuotient<divisor, Element>(sum);
    return fixedNearest<Element>(static_cast<Sum>(middle - mean + number));
}

template<FixedForm form>
QUIB_INLINE float fixedFloat(double sum, float middle)
{
    if constexpr (form == fixedAbsolute)
        return static_cast<float>(__builtin_fabs(sum));
    if constexpr (form == fixedSaturated)
        return static_cast<float>(sum);
    if constexpr (form == fixedOver16)
        return static_cast<float>(sum * (1.0 / 16));
    if constexpr (form == fixedOver256)
        return static_cast<float>(sum * (1.0 / 256));
    constexpr double part = 1.0 / (form == fixedLessOver9 ? 9 : 25);
    return middle - static_cast<float>(sum * part);
}

template<FixedForm form, class Element>
void fixedFinish(void* dst, const void* sums, const void* middle, int32_t number, size_t count)
{
    using Sum = FixedSum<Element>;
    Element* const out = static_cast<Element*>(dst);
    const Sum* const sum = static_cast<const Sum*>(sums);
    const Element* const element = static_cast<const Element*>(middle);
    QUIB_INDEPENDENT
    for (size_t i = 0; i < count; ++i) {
        if constexpr (isSame<Element, float>)
            out[i] = fixedFloat<form>(sum[i], element[i]);
        else
            out[i] = fixedResult<form>(sum[i], element[i], static_cast<Sum>(number));
    }
}

#define QUIB_FIXED_FINISHES(form)                                                                  \
    {                                                                                              \
        fixedFinish<form, uint8_t>, fixedFinish<form, int8_t>, fixedFinish<form, uint16_t>,        \
            fixedFinish<form, int16_t>, fixedFinish<form, int32_t>, fixedFinish<form, float>       \
    }

} // namespace

constinit const FixedKernels fixedKernels{
    .down = {fixedSums<uint8_t, int16_t>, fixedSums<int8_t, int16_t>, fixedSums<uint16_t, int32_t>,
             fixedSums<int16_t, int32_t>, fixedSums<int32_t, int64_t>, fixedFloatSums},
    .across = {fixedSums<int16_t, int16_t>, fixedSums<int16_t, int16_t>,
               fixedSums<int32_t, int32_t>, fixedSums<int32_t, int32_t>,
               fixedSums<int64_t, int64_t>, nullptr},
    .finish = {QUIB_FIXED_FINISHES(fixedAbsolute), QUIB_FIXED_FINISHES(fixedSaturated),
               QUIB_FIXED_FINISHES(fixedOver16), QUIB_FIXED_FINISHES(fixedOver256),
               QUIB_FIXED_FINISHES(fixedLessOver9), QUIB_FIXED_FINISHES(fixedLessOver25)},
};

#undef QUIB_FIXED_FINISHES

} // namespace quib::QUIB_LEVEL
