#include "_Src/warp/angle.h"

#include <bit>
#include <cmath>

namespace
{

// A sum of two doubles, the second too small to change the first when added: some
// 106 bits. T. Dekker, "A Floating-Point Technique for Extending the Available
// Precision", Numerische Mathematik, 1971.
struct Precise {
    double high;
    double low;
};

Precise sumOf(double a, double b)
{
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

Precise productOf(double a, double b)
{
    const auto upperHalf = [](double value) {
        const double scaled = 134217729.0 * value; // 2^27 + 1
        return scaled - (scaled - value);
    };
    const double product = a * b;
    const double a1 = upperHalf(a);
    const double b1 = upperHalf(b);
    const double a2 = a - a1;
    const double b2 = b - b1;
    return {product, ((a1 * b1 - product) + a1 * b2 + a2 * b1) + a2 * b2};
}

Precise operator+(const Precise& a, const Precise& b)
{
    const Precise sum = sumOf(a.high, b.high);
    return sumOf(sum.high, sum.low + (a.low + b.low));
}

Precise operator*(const Precise& a, const Precise& b)
{
    const Precise product = productOf(a.high, b.high);
    return sumOf(product.high, product.low + (a.high * b.low + a.low * b.high));
}

Precise operator/(const Precise& a, double b)
{
    const double quotient = a.high / b;
    const Precise back = productOf(quotient, b);
    return sumOf(quotient, ((a.high - back.high) - back.low + a.low) / b);
}

Precise minus(const Precise& a)
{
    return {-a.high, -a.low};
}

// 1 - s / (n (n + 1)) (1 - s / ((n + 2) (n + 3)) (1 - ...)): what is left of the
// sine's series after a factor x for n 2, and the cosine's for n 1, with s = x x
// below 1.
Precise series(const Precise& s, int32_t n)
{
    Precise value{1.0, 0.0};
    for (int32_t k = n + 26; k >= n; k -= 2)
        value = Precise{1.0, 0.0} + minus(s * value / (static_cast<double>(k) * (k + 1)));
    return value;
}

// --- Few quarter turns ---------------------------------------------------------------

// An angle less as many quarter turns as bring it near to 0, and how many they are,
// modulo 4.
struct Reduced {
    Precise rest;
    uint32_t quarters;
};

constexpr double quarterTurn[3]{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54,
                                -0x1.f1976b7ed8fbcp-110};

// W. Cody and W. Waite, "Software Manual for the Elementary Functions", 1980: the
// quarter turn in parts, the products with which are exact here.
Reduced withoutFewQuarters(double radians)
{
    const double quarters = std::nearbyint(radians * 0.6366197723675814);
    Precise rest{radians, 0.0};
    for (const double part : quarterTurn)
        rest = rest + minus(productOf(quarters, part));
    return {rest, static_cast<uint32_t>(static_cast<int32_t>(quarters))};
}

// --- Many quarter turns --------------------------------------------------------------

// 2 / pi, 32 bits a word, the first one worth 2^-32 of its value.
constexpr uint32_t quartersPerRadian[]{
    0xa2f9836e, 0x4e441529, 0xfc2757d1, 0xf534ddc0, 0xdb629599, 0x3c439041, 0xfe5163ab, 0xdebbc561,
    0xb7246e3a, 0x424dd2e0, 0x06492eea, 0x09d1921c, 0xfe1deb1c, 0xb129a73e, 0xe88235f5, 0x2ebb4484,
    0xe99c7026, 0xb45f7e41, 0x3991d639, 0x835339f4, 0x9c845f8b, 0xbdf9283b, 0x1ff897ff, 0xde05980f,
    0xef2f118b, 0x5a0a6d1f, 0x6d367ecf, 0x27cb09b7, 0x4f463f66, 0x9e5fea2d, 0x7527bac7, 0xebe5f17b,
    0x3d0739f7, 0x8a5292ea, 0x6bfb5fb1, 0x1f8d5d08, 0x56033046, 0xfc7b6bab,
};

// A whole number, the lowest word first.
constexpr int32_t productWords = 10;
struct Product {
    uint32_t words[productWords];
};

// The 53 bits times eight words of the table, the first of which is the highest.
Product multiplied(uint64_t mantissa, const uint32_t* table)
{
    Product product{};
    for (int32_t half = 0; half < 2; ++half) {
        const uint64_t factor = mantissa >> (32 * half) & 0xFFFFFFFF;
        uint64_t carry = 0;
        for (int32_t i = 0; i < 8; ++i) {
            carry += factor * table[7 - i] + product.words[i + half];
            product.words[i + half] = static_cast<uint32_t>(carry);
            carry >>= 32;
        }
        product.words[8 + half] = static_cast<uint32_t>(carry);
    }
    return product;
}

// The bits below the point as a fraction, less 1 if it is at least a half.
Precise fractionOf(const Product& product, int32_t point)
{
    const int32_t top = point / 32;
    const bool isUpper = product.words[(point - 1) / 32] >> ((point - 1) % 32) & 1;
    Precise fraction{isUpper ? -1.0 : 0.0, 0.0};
    for (int32_t i = top; i >= 0; --i) {
        const uint32_t word =
            i == top ? product.words[i] & ((uint32_t{1} << (point % 32)) - 1) : product.words[i];
        fraction = fraction + Precise{std::ldexp(word, 32 * i - point), 0.0};
    }
    return fraction;
}

// M. Payne and R. Hanek, "Radian Reduction for Trigonometric Functions", SIGNUM
// Newsletter, 1983: of the product with 2 / pi only the bits round the point
// matter, as four quarters are a whole turn. The angle is positive and finite.
Reduced withoutManyQuarters(double radians)
{
    const uint64_t bits = std::bit_cast<uint64_t>(radians);
    const uint64_t mantissa = (bits & 0xFFFFFFFFFFFFF) | 0x10000000000000;
    const int32_t exponent = static_cast<int32_t>(bits >> 52) - 1075;
    const int32_t first = exponent < 2 ? 0 : (exponent - 2) / 32;
    const Product product = multiplied(mantissa, quartersPerRadian + first);
    const int32_t point = 32 * (first + 8) - exponent;
    const Precise fraction = fractionOf(product, point);
    const uint64_t top =
        product.words[point / 32] |
        (point / 32 + 1 < productWords ? uint64_t{product.words[point / 32 + 1]} << 32 : 0);
    const uint32_t quarters =
        static_cast<uint32_t>(top >> (point % 32)) + (fraction.high < 0.0 ? 1 : 0);
    return {fraction * Precise{quarterTurn[0], quarterTurn[1]}, quarters};
}

} // namespace

double ownReduceDegrees(double angle)
{
    const double rest = angle - 360.0 * std::nearbyint(angle * 0.002777777777777778);
    return rest < 0.0 ? rest + 360.0 : rest;
}

IplTurn ownTurn(double radians)
{
    if (!std::isfinite(radians))
        return {radians - radians, radians - radians};
    constexpr double few = 1e5;
    const double size = std::fabs(radians);
    const Reduced reduced = size < few ? withoutFewQuarters(size) : withoutManyQuarters(size);
    const Precise square = reduced.rest * reduced.rest;
    const double sine = (reduced.rest * series(square, 2)).high;
    const double cosine = series(square, 1).high;
    const double turned[4]{sine, cosine, -sine, -cosine};
    return {std::copysign(1.0, radians) * turned[reduced.quarters & 3],
            turned[(reduced.quarters + 1) & 3]};
}
