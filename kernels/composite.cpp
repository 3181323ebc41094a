#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{
namespace composite
{

// --- Domains -------------------------------------------------------------------------
//
// A domain gives the numbers that the formulas below are computed in: times() is
// a product in units of the largest element, rest() what is missing to it. A sum
// may exceed it until it is stored.

struct ByteDomain {
    using Element = uint8_t;
    using Number = uint16_t;
    static constexpr Number largest = 255;
    static Number times(Number x, Number y)
    {
        const Number t = static_cast<Number>(x * y);
        return static_cast<Number>(static_cast<Number>((t >> 8) + t + 1) >> 8);
    }
    static Number rest(Number x) { return static_cast<Number>(largest - x); }
    static Number plus(Number x, Number y) { return static_cast<Number>(x + y); }
    static Number alpha(Element x) { return x; }
    static Number load(Element x) { return x; }
    static Element store(Number x) { return static_cast<Element>(x < largest ? x : largest); }
};

struct WordDomain {
    using Element = uint16_t;
    using Number = uint32_t;
    static constexpr Number largest = 65535;
    static Number times(Number x, Number y)
    {
        const Number t = x * y;
        return ((t >> 16) + t + 1) >> 16;
    }
    static Number rest(Number x) { return largest - x; }
    static Number plus(Number x, Number y) { return x + y; }
    static Number alpha(Element x) { return x; }
    static Number load(Element x) { return x; }
    static Element store(Number x) { return static_cast<Element>(x < largest ? x : largest); }
};

// Alphas are 0 to 1 here, elements as large as they are.
template<class Integers>
struct FloatDomain {
    using Element = typename Integers::Element;
    using Number = float;
    static constexpr uint32_t largest = Integers::largest;
    static Number times(Number x, Number y) { return x * y; }
    static Number rest(Number x) { return 1.0f - x; }
    static Number plus(Number x, Number y) { return x + y; }
    static Number alpha(int32_t x) { return static_cast<float>(x) * (1.0f / largest); }
    static Number load(int32_t x) { return static_cast<float>(x); }
    // Back to a straight colour, where the result's alpha is not next to nothing.
    // All is capped: what is not divided would be saturated in the end. Floats
    // that are not negative compare as their bits do, which vectorises.
    static Number divide(Number x, Number alpha)
    {
        constexpr int32_t threshold = 0x37010183; // 7.689351e-06
        const int32_t divides = (threshold - bitsOf(alpha)) >> 31;
        const int32_t divisor = (bitsOf(alpha) & divides) | (bitsOf(1.0f) & ~divides);
        const int32_t quotient = bitsOf(x / __builtin_bit_cast(float, divisor));
        return __builtin_bit_cast(float, quotient < bitsOf(largest) ? quotient : bitsOf(largest));
    }
    // From 2 to the 23rd on a float has no fraction bits: the sum rounds to
    // nearest and ends in the integer.
    static uint32_t store(Number x)
    {
        return static_cast<uint32_t>(bitsOf(x + 0x1p23f)) & 0x7FFFFF;
    }

private:
    static constexpr int32_t bitsOf(float x) { return __builtin_bit_cast(int32_t, x); }
};

// --- Formulas --------------------------------------------------------------------------
//
// a and b are the weighted elements, aA and aB the alphas.

template<class Domain>
using NumberOf = typename Domain::Number;

struct Over {
    template<class Domain, class Number = NumberOf<Domain>>
    static Number element(Number a, Number b, Number aA, Number)
    {
        return Domain::plus(a, Domain::times(Domain::rest(aA), b));
    }
};

struct In {
    template<class Domain, class Number = NumberOf<Domain>>
    static Number element(Number a, Number, Number, Number aB)
    {
        return Domain::times(a, aB);
    }
};

struct Out {
    template<class Domain, class Number = NumberOf<Domain>>
    static Number element(Number a, Number, Number, Number aB)
    {
        return Domain::times(a, Domain::rest(aB));
    }
};

struct Atop {
    template<class Domain, class Number = NumberOf<Domain>>
    static Number element(Number a, Number b, Number aA, Number aB)
    {
        return Domain::plus(Domain::times(a, aB), Domain::times(Domain::rest(aA), b));
    }
};

struct Xor {
    template<class Domain, class Number = NumberOf<Domain>>
    static Number element(Number a, Number b, Number aA, Number aB)
    {
        return Domain::plus(Domain::times(Domain::rest(aB), a), Domain::times(Domain::rest(aA), b));
    }
};

struct Plus {
    template<class Domain, class Number = NumberOf<Domain>>
    static Number element(Number a, Number b, Number, Number)
    {
        return Domain::plus(a, b);
    }
};

// The result's alpha is what element() makes of the alphas, save that of atop,
// which is aB itself: two rounded products may miss it.
template<class Type>
constexpr bool alphaIsElement = true;
template<>
constexpr bool alphaIsElement<Atop> = false;

template<class Domain, class Type>
NumberOf<Domain> compositeAlpha(NumberOf<Domain> aA, NumberOf<Domain> aB)
{
    if constexpr (alphaIsElement<Type>)
        return Type::template element<Domain>(aA, aB, aA, aB);
    else
        return aB;
}

template<class Domain, class Type, bool premul>
NumberOf<Domain> compositeElement(NumberOf<Domain> a, NumberOf<Domain> b, NumberOf<Domain> aA,
                                  NumberOf<Domain> aB)
{
    if constexpr (premul)
        return Type::template element<Domain>(a, b, aA, aB);
    else
        return Type::template element<Domain>(Domain::times(a, aA), Domain::times(b, aB), aA, aB);
}

// --- Elements and alphas -------------------------------------------------------------------

template<class Domain>
struct ElementRows {
    using Element = typename Domain::Element;
    template<class Type, bool premul>
    static void row(Element* dst, const Element* a, const Element* b, const Element* alphaA,
                    const Element* alphaB, size_t count)
    {
        QUIB_INDEPENDENT
        for (size_t i = 0; i < count; ++i) {
            const auto aA = Domain::alpha(alphaA[i]);
            const auto aB = Domain::alpha(alphaB[i]);
            dst[i] = Domain::store(compositeElement<Domain, Type, premul>(
                Domain::load(a[i]), Domain::load(b[i]), aA, aB));
        }
    }
};

template<class Integers>
struct DividedElementRows {
    using Domain = FloatDomain<Integers>;
    using Element = typename Integers::Element;
    template<class Type, bool premul>
    static void row(Element* dst, const Element* a, const Element* b, const Element* alphaA,
                    const Element* alphaB, size_t count)
    {
        QUIB_INDEPENDENT
        for (size_t i = 0; i < count; ++i) {
            const float aA = Domain::alpha(alphaA[i]);
            const float aB = Domain::alpha(alphaB[i]);
            const float element = compositeElement<Domain, Type, premul>(
                Domain::load(a[i]), Domain::load(b[i]), aA, aB);
            dst[i] = static_cast<Element>(
                Domain::store(Domain::divide(element, compositeAlpha<Domain, Type>(aA, aB))));
        }
    }
};

template<class Domain, class Type, class Element = typename Domain::Element>
void alphaRow(Element* dst, const Element* alphaA, const Element* alphaB, size_t count)
{
    QUIB_INDEPENDENT
    for (size_t i = 0; i < count; ++i)
        dst[i] = Domain::store(
            compositeAlpha<Domain, Type>(Domain::alpha(alphaA[i]), Domain::alpha(alphaB[i])));
}

// --- Pixels in integers --------------------------------------------------------------------

template<class Type, bool premul>
void pixelWithAlphas(uint8_t* dst, const uint8_t* a, const uint8_t* b, uint8_t alphaA,
                     uint8_t alphaB)
{
    for (size_t c = 0; c < 3; ++c)
        dst[c] = ByteDomain::store(
            compositeElement<ByteDomain, Type, premul>(a[c], b[c], alphaA, alphaB));
}

template<class Type, bool premul>
void pixelWithOwnAlphas(uint8_t* dst, const uint8_t* a, const uint8_t* b)
{
    const uint8_t alphaA = a[3];
    const uint8_t alphaB = b[3];
    pixelWithAlphas<Type, premul>(dst, a, b, alphaA, alphaB);
    dst[3] = ByteDomain::store(compositeAlpha<ByteDomain, Type>(alphaA, alphaB));
}

// Vectors of bytes are widened to 16 bits, low and high halves apart; packing undoes
// that.
struct VectorDomain {
    using Number = U16<>;
    static Number times(Number x, Number y) { return productsOver255(x, y); }
    static Number rest(Number x) { return x ^ 255; }
    static Number plus(Number x, Number y) { return x + y; }
};

// Half a vector of pixels.
template<class Type, bool premul>
U16<> halfWithOwnAlphas(U16<> a, U16<> b)
{
    const U16<> alphaLanes = as<U16<>>(spread<U64<>>(0x00FF'0000'0000'0000));
    const U16<> aA = inGroups<3, 3, 3, 3>(a);
    const U16<> aB = inGroups<3, 3, 3, 3>(b);
    // Weighted, the largest element becomes the alpha itself.
    if constexpr (!premul) {
        a |= alphaLanes;
        b |= alphaLanes;
    }
    const U16<> result = compositeElement<VectorDomain, Type, premul>(a, b, aA, aB);
    if constexpr (alphaIsElement<Type>)
        return result;
    else
        return (result & ~alphaLanes) | (aB & alphaLanes);
}

struct PixelRows {
    template<class Type, bool premul>
    static void row(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t count)
    {
        size_t i = 0;
        for (; i + wide <= count * 4; i += wide) {
            const U8<> x = load<U8<>>(a + i);
            const U8<> y = load<U8<>>(b + i);
            store(dst + i, packToU8(halfWithOwnAlphas<Type, premul>(widenLow(x), widenLow(y)),
                                    halfWithOwnAlphas<Type, premul>(widenHigh(x), widenHigh(y))));
        }
        for (; i < count * 4; i += 4)
            pixelWithOwnAlphas<Type, premul>(dst + i, a + i, b + i);
    }
};

struct TintedRows {
    template<class Type, bool premul>
    static void row(uint8_t* dst, const uint8_t* a, const uint8_t* b, uint8_t alphaA,
                    uint8_t alphaB, size_t count)
    {
        size_t i = 0;
        const U8<> alphaBytes = as<U8<>>(spread<U32<>>(0xFF000000));
        const U16<> aA = spread<U16<>>(alphaA);
        const U16<> aB = spread<U16<>>(alphaB);
        for (; i + wide <= count * 4; i += wide) {
            const U8<> x = load<U8<>>(a + i);
            const U8<> y = load<U8<>>(b + i);
            const U8<> result = packToU8(
                compositeElement<VectorDomain, Type, premul>(widenLow(x), widenLow(y), aA, aB),
                compositeElement<VectorDomain, Type, premul>(widenHigh(x), widenHigh(y), aA, aB));
            store(dst + i, (result & ~alphaBytes) | (load<U8<>>(dst + i) & alphaBytes));
        }
        for (; i < count * 4; i += 4)
            pixelWithAlphas<Type, premul>(dst + i, a + i, b + i, alphaA, alphaB);
    }
};

// --- Pixels in floats ------------------------------------------------------------------------

// A lane a pixel: its elements come out of the word and go back by shifts.
struct DividedPixelRows {
    using Domain = FloatDomain<ByteDomain>;

    template<class Type, bool premul>
    static uint32_t pixel(uint32_t a, uint32_t b)
    {
        const float aA = Domain::alpha(static_cast<int32_t>(a >> 24));
        const float aB = Domain::alpha(static_cast<int32_t>(b >> 24));
        const float alpha = compositeAlpha<Domain, Type>(aA, aB);
        uint32_t result = 0;
        for (int32_t shift = 0; shift < 24; shift += 8) {
            const float element = compositeElement<Domain, Type, premul>(
                Domain::load(static_cast<int32_t>(a >> shift & 0xFF)),
                Domain::load(static_cast<int32_t>(b >> shift & 0xFF)), aA, aB);
            result |= Domain::store(Domain::divide(element, alpha)) << shift;
        }
        return result;
    }
    template<class Type, bool premul>
    static void row(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t count)
    {
        QUIB_INDEPENDENT
        for (size_t i = 0; i < count; ++i) {
            uint32_t x;
            uint32_t y;
            __builtin_memcpy(&x, a + i * 4, 4);
            __builtin_memcpy(&y, b + i * 4, 4);
            const uint32_t alpha = ByteDomain::store(compositeAlpha<ByteDomain, Type>(
                static_cast<uint16_t>(x >> 24), static_cast<uint16_t>(y >> 24)));
            const uint32_t result = pixel<Type, premul>(x, y) | alpha << 24;
            __builtin_memcpy(dst + i * 4, &result, 4);
        }
    }
};

// --- The table ---------------------------------------------------------------------------------

template<class Row, class Layout>
constexpr CompositeRows<Row> rowsOf{{
    {Layout::template row<Over, false>, Layout::template row<In, false>,
     Layout::template row<Out, false>, Layout::template row<Atop, false>,
     Layout::template row<Xor, false>, Layout::template row<Plus, false>},
    {Layout::template row<Over, true>, Layout::template row<In, true>,
     Layout::template row<Out, true>, Layout::template row<Atop, true>,
     Layout::template row<Xor, true>, Layout::template row<Plus, true>},
}};

} // namespace composite

} // namespace

constinit const CompositeKernels compositeKernels{
    .pixels = composite::rowsOf<CompositePixels, composite::PixelRows>,
    .dividedPixels = composite::rowsOf<CompositePixels, composite::DividedPixelRows>,
    .tinted = composite::rowsOf<CompositeTinted, composite::TintedRows>,
    .elements8 = composite::rowsOf<CompositeElements<uint8_t>,
                                   composite::ElementRows<composite::ByteDomain>>,
    .dividedElements8 = composite::rowsOf<CompositeElements<uint8_t>,
                                          composite::DividedElementRows<composite::ByteDomain>>,
    .elements16 = composite::rowsOf<CompositeElements<uint16_t>,
                                    composite::ElementRows<composite::WordDomain>>,
    .dividedElements16 = composite::rowsOf<CompositeElements<uint16_t>,
                                           composite::DividedElementRows<composite::WordDomain>>,
    .alphas8 = {composite::alphaRow<composite::ByteDomain, composite::Over>,
                composite::alphaRow<composite::ByteDomain, composite::In>,
                composite::alphaRow<composite::ByteDomain, composite::Out>,
                composite::alphaRow<composite::ByteDomain, composite::Atop>,
                composite::alphaRow<composite::ByteDomain, composite::Xor>,
                composite::alphaRow<composite::ByteDomain, composite::Plus>},
    .alphas16 = {composite::alphaRow<composite::WordDomain, composite::Over>,
                 composite::alphaRow<composite::WordDomain, composite::In>,
                 composite::alphaRow<composite::WordDomain, composite::Out>,
                 composite::alphaRow<composite::WordDomain, composite::Atop>,
                 composite::alphaRow<composite::WordDomain, composite::Xor>,
                 composite::alphaRow<composite::WordDomain, composite::Plus>},
};

} // namespace quib::QUIB_LEVEL
