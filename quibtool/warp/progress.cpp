#include "quibtool/warp/progress.h"

#include <bit>
#include <cfloat>
#include <cmath>

namespace
{

constexpr uint64_t signBit = 0x8000000000000000u;
constexpr uint64_t exponentBits = 0x7FF0000000000000u;

// The numbers of one sign and exponent are equally far apart, so that sums that
// stay among them are rounded alike: the sum grows by the same amount each time.
uint64_t binadeOf(double value)
{
    return std::bit_cast<uint64_t>(value) & (signBit | exponentBits);
}

// How many times the amount can surely be added before the sum leaves its binade,
// at the most.
uint32_t stepsInBinade(double sum, double amount, uint32_t most)
{
    const double low = std::bit_cast<double>(std::bit_cast<uint64_t>(sum) & exponentBits);
    const double high = low > 0 ? low * 2 : DBL_MIN;
    const double size = std::fabs(sum);
    const double room = (amount < 0) == (sum < 0) ? high - size : size - low;
    const double steps = room / std::fabs(amount) - 3; // the quotient is rounded
    if (!(steps >= 1))
        return 0;
    return steps < most ? static_cast<uint32_t>(steps) : most;
}

} // namespace

double ownAdvanced(double start, double step, uint32_t count)
{
    double sum = start;
    while (count > 0) {
        // The first sum in a binade, and a tie that is rounded to the even one, can
        // make one step differ.
        const uint64_t binade = binadeOf(sum);
        double before = sum;
        bool settled = true;
        for (int i = 0; i < 3 && count > 0; ++i, --count) {
            before = sum;
            sum += step;
            settled = settled && binadeOf(sum) == binade;
        }
        const double amount = sum - before;
        if (!(amount < 0 || amount > 0))
            return sum; // it stays where it is, or is no number
        if (!settled)
            continue;
        const uint32_t steps = stepsInBinade(sum, amount, count);
        sum += steps * amount;
        count -= steps;
    }
    return sum;
}
