// Laying rows of one image over another: the composite types, with alphas from
// the pixels themselves, from constants or from planes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// The rows of one layout, as [premulAlpha][compositeType], where the types are
// over, in, out, atop, xor and plus. Elements are weighted by their alpha first
// if premulAlpha is 0. Whatever is too large becomes the largest element.
template<class Row>
struct CompositeRows {
    Row of[2][6];
};

// Four-byte pixels whose last byte is their alpha. The destination's becomes the
// result's alpha.
using CompositePixels = void (*)(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t count);

// The same with one alpha for each row. The destination's last bytes stay.
using CompositeTinted = void (*)(uint8_t* dst, const uint8_t* a, const uint8_t* b, uint8_t alphaA,
                                 uint8_t alphaB, size_t count);

// Elements of one channel beside one alpha for each.
template<class Element>
using CompositeElements = void (*)(Element* dst, const Element* a, const Element* b,
                                   const Element* alphaA, const Element* alphaB, size_t count);

// Only the result's alpha, in integers.
template<class Element>
using CompositeAlphas = void (*)(Element* dst, const Element* alphaA, const Element* alphaB,
                                 size_t count);

// Byte rows need no alignment, others that of their elements. A source or alpha
// may be the destination itself; else they must not overlap it. The divided
// forms compute in float and turn a premultiplied sum back into a straight
// colour; the alphas that they store are those of the integer forms.
struct CompositeKernels {
    CompositeRows<CompositePixels> pixels;
    CompositeRows<CompositePixels> dividedPixels;
    CompositeRows<CompositeTinted> tinted;
    CompositeRows<CompositeElements<uint8_t>> elements8;
    CompositeRows<CompositeElements<uint8_t>> dividedElements8;
    CompositeRows<CompositeElements<uint16_t>> elements16;
    CompositeRows<CompositeElements<uint16_t>> dividedElements16;
    CompositeAlphas<uint8_t> alphas8[6]; // by compositeType
    CompositeAlphas<uint16_t> alphas16[6];
};

} // namespace quib
