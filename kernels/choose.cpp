#include "kernels/kernels.h"

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "Pixels are read and written as little-endian words; this processor is big-endian."
#endif

namespace quib
{

namespace base
{
extern const Kernels table;
}
#if defined(QUIB_X86)
namespace avx2
{
extern const Kernels table;
}
namespace avx512
{
extern const Kernels table;
}
#endif

namespace
{
#if defined(QUIB_X86)
// These ask, besides the feature bits, whether the system saves the registers.
bool hasAvx2Level()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma") &&
           __builtin_cpu_supports("popcnt");
}

bool hasAvx512Level()
{
    return hasAvx2Level() && __builtin_cpu_supports("avx512f") &&
           __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512cd") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
}
#endif

// Right from the first instruction on; chooseKernels() only makes it faster.
constinit const Kernels* active = &base::table;
} // namespace

const Kernels& kernels()
{
    return *active;
}

const Kernels* kernelsOfLevel(KernelLevel level)
{
#if defined(QUIB_X86)
    if (level == KernelLevel::avx512)
        return hasAvx512Level() ? &avx512::table : nullptr;
    if (level == KernelLevel::avx2)
        return hasAvx2Level() ? &avx2::table : nullptr;
#endif
    return level == KernelLevel::base ? &base::table : nullptr;
}

bool useKernelLevel(KernelLevel level)
{
    const Kernels* table = kernelsOfLevel(level);
    if (table)
        active = table;
    return table != nullptr;
}

void chooseKernels()
{
    if (!useKernelLevel(KernelLevel::avx512) && !useKernelLevel(KernelLevel::avx2))
        useKernelLevel(KernelLevel::base);
}

namespace
{
// Before any static object of the application. A function of its own: one that
// a header declares loses the priority.
[[gnu::constructor(101)]] void chooseOnLoad()
{
    chooseKernels();
}
} // namespace

} // namespace quib
