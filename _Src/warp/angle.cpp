#include "_Src/warp/angle.h"

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

// The angle less as many quarter turns as bring it nearest to 0.
Precise withoutQuarters(double radians, double quarters)
{
    constexpr double quarterTurn[3]{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54,
                                    -0x1.f1976b7ed8fbcp-110};
    Precise rest{radians, 0.0};
    for (const double part : quarterTurn)
        rest = rest + minus(productOf(quarters, part));
    return rest;
}

} // namespace

double ownReduceDegrees(double angle)
{
    const double rest = angle - 360.0 * std::nearbyint(angle * 0.002777777777777778);
    return rest < 0.0 ? rest + 360.0 : rest;
}

IplTurn ownTurn(double radians)
{
    if (!(std::fabs(radians) < 1e9))
        return {std::sin(radians), std::cos(radians)};
    const double quarters = std::nearbyint(radians * 0.6366197723675814);
    const Precise rest = withoutQuarters(radians, quarters);
    const Precise square = rest * rest;
    const double sine = (rest * series(square, 2)).high;
    const double cosine = series(square, 1).high;
    switch (static_cast<int64_t>(quarters) & 3) {
    case 0:
        return {sine, cosine};
    case 1:
        return {cosine, -sine};
    case 2:
        return {-sine, -cosine};
    default:
        return {-cosine, sine};
    }
}
