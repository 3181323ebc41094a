// What the code under test holds of global memory.
#pragma once

#include <cstdint>

// 0 where the linker does not let the test stand in between.
int64_t liveGlobalBlocks();
