#include "kernels/kernels.h"

#include "tests/support/levels.h"

#include <gtest/gtest.h>

#include <algorithm>
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

// Counts the functions that a family lacks; a table of a family holds nothing but
// pointers.
template<class Family>
ptrdiff_t lacking(const Family& family)
{
    const auto* first = reinterpret_cast<const void* const*>(&family);
    return std::count(first, first + sizeof family / sizeof *first, nullptr);
}

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

// Every function of every level is there, but for what vectors of 32-bit integers
// lack, which have no median, and the sums of floats, which are made in one step.
// Operations on pixels lack some depths on purpose, which their own test lists.
TEST_P(KernelLevels, LeaveNoFunctionOut)
{
    const quib::Kernels* table = quib::kernelsOfLevel(GetParam().level);
    if (!table)
        GTEST_SKIP() << "this processor lacks level " << GetParam().name;
    const quib::RankKernels& rank = table->rank;
    const quib::FixedKernels& fixed = table->fixed;
    for (const ptrdiff_t none :
         {lacking(table->block), lacking(table->alpha), lacking(table->layers),
          lacking(table->convert), lacking(table->zoom), lacking(table->area),
          lacking(table->stretch), lacking(table->bits), lacking(table->composite),
          lacking(table->select), lacking(table->mirror), lacking(table->convolve),
          lacking(table->dither), lacking(table->warp), lacking(table->tone), lacking(table->scan),
          lacking(table->gray), lacking(table->box), lacking(table->pack16)})
        EXPECT_EQ(none, 0);
    EXPECT_EQ(lacking(rank), 2);
    EXPECT_EQ(rank.vectorMedian[quib::RANK_S32], nullptr);
    EXPECT_EQ(rank.vectorMedian3[quib::RANK_S32], nullptr);
    EXPECT_EQ(lacking(fixed), 1);
    EXPECT_EQ(fixed.across[quib::fixedF32], nullptr);
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
