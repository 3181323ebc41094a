// Leaves the level in use in the results of a test program. Where QUIB_TEST_LEVEL asks
// for a level alone, that has to be the one: else tests would pass that ran nothing.
#include "kernels/kernels.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{

class LevelRecord : public testing::Environment
{
    void SetUp() override
    {
        const char* const inUse = quib::kernels().levelName;
        testing::Test::RecordProperty("level", inUse);
        const char* const asked = std::getenv("QUIB_TEST_LEVEL");
        ASSERT_STREQ(inUse, asked ? asked : inUse) << "The level in use is another one.";
    }
};

[[maybe_unused]] const auto* const levelRecord = testing::AddGlobalTestEnvironment(new LevelRecord);

} // namespace
