#include "kernels/kernels.h"

#include "tests/support/levels.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

using quib::KernelLevel;

struct LevelName {
    KernelLevel level;
    const char* name;
};

constexpr LevelName levelNames[] = {
    {KernelLevel::base, "base"},
    {KernelLevel::avx2, "avx2"},
    {KernelLevel::avx512, "avx512"},
};

#if defined(__x86_64__) || defined(__i386__)
bool processorHas(KernelLevel level)
{
    __builtin_cpu_init();
    switch (level) {
    case KernelLevel::base:
        return true;
    case KernelLevel::avx2:
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");
    default:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl");
    }
}
#else
bool processorHas(KernelLevel level)
{
    return level == KernelLevel::base;
}
#endif

class KernelLevels : public testing::TestWithParam<LevelName>
{
};

} // namespace

TEST_P(KernelLevels, CanBeUsedWhereTheProcessorHasThem)
{
    const auto [level, name] = GetParam();
    const quib::Kernels* const before = &quib::kernels();
    const quib::Kernels* table = quib::kernelsOfLevel(level);
    ASSERT_EQ(table != nullptr, processorHas(level)) << name;
    if (!table) {
        EXPECT_FALSE(quib::useKernelLevel(level));
        EXPECT_EQ(&quib::kernels(), before);
        GTEST_SKIP() << "this processor lacks level " << name;
    }
    EXPECT_EQ(table->level, level);
    EXPECT_STREQ(table->levelName, name);
    EXPECT_TRUE(quib::useKernelLevel(level));
    EXPECT_EQ(&quib::kernels(), table);
    quib::chooseKernels();
}

// Every function of every level is there: a table holds nothing but pointers
// after its name. Operations on pixels lack some depths on purpose, which their
// own test lists; vectors of 32-bit integers have no median, and sums of floats
// are made in one step.
TEST_P(KernelLevels, LeaveNoFunctionOut)
{
    const quib::Kernels* table = quib::kernelsOfLevel(GetParam().level);
    if (!table)
        GTEST_SKIP() << "this processor lacks level " << GetParam().name;
    const auto addressOf = [](const auto* member) {
        return reinterpret_cast<const void* const*>(member);
    };
    const void* const* const pixel = addressOf(&table->pixel);
    const void* const* const pixelEnd = addressOf(&table->pixel + 1);
    const std::set<const void* const*> none{
        addressOf(&table->rank.vectorMedian[quib::RANK_S32]),
        addressOf(&table->rank.vectorMedian3[quib::RANK_S32]),
        addressOf(&table->fixed.across[quib::fixedF32]),
    };
    for (auto member = addressOf(&table->levelName); member != addressOf(table + 1); ++member) {
        if (member < pixel || member >= pixelEnd) {
            EXPECT_EQ(*member == nullptr, none.count(member) == 1)
                << member - addressOf(&table->levelName);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EachLevel, KernelLevels, testing::ValuesIn(levelNames),
                         [](const testing::TestParamInfo<LevelName>& level) {
                             return std::string(level.param.name);
                         });

TEST(ChooseKernels, PicksTheBestLevel)
{
    ASSERT_TRUE(quib::useKernelLevel(KernelLevel::base));
    quib::chooseKernels();
    EXPECT_EQ(&quib::kernels(), availableLevels().back());
}
