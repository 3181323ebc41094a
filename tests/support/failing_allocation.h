// Memory that runs out for the code under test. The test programs' calls of
// malloc and calloc come through here first (tests/CMakeLists.txt).
#pragma once

#include <cstdint>

// While it lives, the allocation after the next `passing` ones fails, once.
// Nothing else should allocate meanwhile: keep its life to the call under test.
class FailingAllocation
{
public:
    explicit FailingAllocation(int32_t passing = 0);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    // How many allocations were asked for so far, the failed one included.
    int32_t asked() const;
};
