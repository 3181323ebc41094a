// The composite of one element, step by step, for tests.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

enum PlainType { plainOver, plainIn, plainOut, plainAtop, plainXor, plainPlus };

// How one call composites: the depth's largest element and the three choices.
struct PlainComposite {
    int32_t type;
    int32_t premulAlpha;
    int32_t divideMode;
    uint32_t largest; // 255 or 65535
};

inline uint32_t plainProduct(uint32_t x, uint32_t y, uint32_t largest)
{
    const int shift = largest == 255 ? 8 : 16;
    const uint64_t t = static_cast<uint64_t>(x) * y;
    return static_cast<uint32_t>(((t >> shift) + t + 1) >> shift);
}

// The result's alpha.
inline uint32_t plainAlpha(int32_t type, uint32_t aA, uint32_t aB, uint32_t largest)
{
    const auto mul = [largest](uint32_t x, uint32_t y) { return plainProduct(x, y, largest); };
    const uint32_t M = largest;
    uint32_t r = 0;
    switch (type) {
    case plainOver:
        r = aA + mul(M - aA, aB);
        break;
    case plainIn:
        r = mul(aA, aB);
        break;
    case plainOut:
        r = mul(M - aB, aA);
        break;
    case plainAtop:
        r = aB;
        break;
    case plainXor:
        r = mul(M - aB, aA) + mul(M - aA, aB);
        break;
    case plainPlus:
        r = aA + aB;
        break;
    }
    return std::min(r, M);
}

inline uint32_t plainIntegerElement(const PlainComposite& form, uint32_t a, uint32_t b, uint32_t aA,
                                    uint32_t aB)
{
    const uint32_t M = form.largest;
    const auto mul = [M](uint32_t x, uint32_t y) { return plainProduct(x, y, M); };
    const uint32_t wA = form.premulAlpha ? a : mul(a, aA);
    const uint32_t wB = form.premulAlpha ? b : mul(b, aB);
    uint32_t element = 0;
    switch (form.type) {
    case plainOver:
        element = wA + mul(M - aA, wB);
        break;
    case plainIn:
        element = mul(wA, aB);
        break;
    case plainOut:
        element = mul(wA, M - aB);
        break;
    case plainAtop:
        element = mul(wA, aB) + mul(M - aA, wB);
        break;
    case plainXor:
        element = mul(M - aB, wA) + mul(M - aA, wB);
        break;
    case plainPlus:
        element = wA + wB;
        break;
    }
    return std::min(element, M);
}

inline uint32_t plainDividedElement(const PlainComposite& form, uint32_t a, uint32_t b,
                                    uint32_t alphaA, uint32_t alphaB)
{
    const float unit = form.largest == 255 ? std::bit_cast<float>(0x3B808081u) : 1.0f / 65535.0f;
    const float aA = static_cast<float>(alphaA) * unit;
    const float aB = static_cast<float>(alphaB) * unit;
    const float fA = static_cast<float>(a);
    const float fB = static_cast<float>(b);
    const float wA = form.premulAlpha ? fA : fA * aA;
    const float wB = form.premulAlpha ? fB : fB * aB;
    float element = 0;
    float r = 0;
    switch (form.type) {
    case plainOver:
        element = wA + (1.0f - aA) * wB;
        r = (1.0f - aA) * aB + aA;
        break;
    case plainIn:
        element = wA * aB;
        r = aA * aB;
        break;
    case plainOut:
        element = wA * (1.0f - aB);
        r = (1.0f - aB) * aA;
        break;
    case plainAtop:
        element = wA * aB + (1.0f - aA) * wB;
        r = aB;
        break;
    case plainXor:
        element = (1.0f - aB) * wA + (1.0f - aA) * wB;
        r = (1.0f - aA) * aB + (1.0f - aB) * aA;
        break;
    case plainPlus:
        element = wA + wB;
        r = aA + aB;
        break;
    }
    if (r > std::bit_cast<float>(0x37010183u)) {
        element = element / r;
        if (element > static_cast<float>(form.largest))
            element = static_cast<float>(form.largest);
    }
    const uint32_t rounded = std::bit_cast<uint32_t>(element + 8388608.0f) & 0x7FFFFF;
    return std::min(rounded, form.largest);
}

inline uint32_t plainElement(const PlainComposite& form, uint32_t a, uint32_t b, uint32_t aA,
                             uint32_t aB)
{
    return form.divideMode ? plainDividedElement(form, a, b, aA, aB)
                           : plainIntegerElement(form, a, b, aA, aB);
}
