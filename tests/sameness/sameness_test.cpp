// Every level, target and compiler gives the digests that are checked in.
#include "tests/sameness/digestfile.h"
#include "tests/support/levels.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

const std::map<std::string, FunctionDigests>& checkedIn()
{
    static const std::map<std::string, FunctionDigests> digests = readDigests(QUIB_DIGEST_FILE);
    return digests;
}

class Sameness : public testing::TestWithParam<CorpusFunction>
{
};

// A byte for new memory, another one for each level.
uint8_t memoryAt(quib::KernelLevel level)
{
    return static_cast<uint8_t>(0x5B + 0x47 * static_cast<int>(level));
}

void expectDigests(const CorpusFunction& function, const FunctionDigests& expected, uint8_t memory)
{
    const FunctionDigests given = digestsOf(function, memory);
    for (size_t i = 0; i < expected.cases.size(); ++i)
        ASSERT_EQ(given.cases[i], expected.cases[i])
            << "case " << i << ": "
            << runCorpusCase(function, static_cast<int32_t>(i), memory).arguments;
    EXPECT_EQ(given.all, expected.all) << "in the lower halves of the cases' digests";
}

} // namespace

TEST_P(Sameness, GivesTheDigests)
{
    const CorpusFunction& function = GetParam();
    const auto found = checkedIn().find(function.name);
    ASSERT_NE(found, checkedIn().end());
    ASSERT_EQ(found->second.cases.size(), static_cast<size_t>(function.cases));
    forEachLevel([&] { expectDigests(function, found->second, memoryAt(quib::kernels().level)); });
}

INSTANTIATE_TEST_SUITE_P(Corpus, Sameness, testing::ValuesIn(corpusFunctions()),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(SamenessCorpus, HoldsEveryFunction)
{
    std::set<std::string> names;
    for (const CorpusFunction& function : corpusFunctions())
        EXPECT_TRUE(names.insert(function.name).second) << function.name;
    EXPECT_EQ(checkedIn().size(), names.size());
    for (const char* name : {
#include "function_names.inc"
         })
        EXPECT_EQ(names.count(name), 1u) << name;
}
