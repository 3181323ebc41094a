// Memory that runs out for the code under test, and what it holds. The test programs'
// calls of malloc and its like come through here first (tests/CMakeLists.txt).
#pragma once

#include <cstdint>

// While it lives, `failing` allocations after the next `passing` ones fail. New bytes
// hold a pattern. Nothing else should allocate meanwhile: keep its life to the call
// under test.
class FailingAllocation
{
public:
    explicit FailingAllocation(int32_t passing = 0, int32_t failing = 1);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    // How many allocations were asked for so far, the failed one included.
    int32_t asked() const;
};

// While it lives, new blocks hold this byte, on which no result must depend.
class FilledMemory
{
public:
    explicit FilledMemory(uint8_t byte);
    ~FilledMemory();
    FilledMemory(const FilledMemory&) = delete;
    FilledMemory& operator=(const FilledMemory&) = delete;
};

// How many blocks this program holds.
int64_t liveBlocks();
