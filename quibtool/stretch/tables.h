// The index tables of a stretch, one for each axis, and the scratch they lie in.
#pragma once

#include "kernels/stretch.h"

#include <cstddef>
#include <cstdint>

// Fill the tables of one axis of dstN positions out of srcN: first and second
// input position, and the share of the first one, 0 to 255. The nearest modes
// fill idx0 alone. The second form repeats each weight in all four bytes, and
// is the one that knows the pair modes, which leave the last entry of an odd
// dstN as it was.
void BuildStretchTable8(uint32_t dstN, uint32_t srcN, uint8_t* weight, uint32_t* idx0,
                        uint32_t* idx1, int32_t mode);
void BuildStretchTable32(uint32_t dstN, uint32_t srcN, uint32_t* weight, uint32_t* idx0,
                         uint32_t* idx1, int32_t mode);

namespace quib
{

struct StretchAxis {
    uint32_t* idx0; // never decreasing
    // Along x idx0 + 1, or idx0 at the source's two ends; along y up to
    // idx0 + lines - 1.
    uint32_t* idx1;
    uint32_t* weight; // in all four bytes
};

// The scratch of one call.
struct StretchTables {
    // `lines` is how many rows, filtered along x, a weighted stretch keeps: 2,
    // or 4 for row pairs; 0 makes a nearest stretch, with idx0 alone.
    StretchTables(uint32_t dstW, uint32_t dstH, uint32_t lines);
    ~StretchTables();
    StretchTables(const StretchTables&) = delete;
    StretchTables& operator=(const StretchTables&) = delete;

    // False if there was no memory.
    bool exist() const { return block != nullptr; }

    uint32_t lineCount;
    uint8_t* block;
    uint8_t* lines;
    GatherBlock* gathers; // of a nearest stretch, dstW / 8
    StretchAxis x;
    StretchAxis y;
};

// The share of the first of two neighbours, `t` away from it: 0 to 255, linear,
// or along the curve of STRETCH_SMOOTH.
uint8_t ownStretchWeight(double t, int32_t mode);

bool isPairMode(int32_t mode);

// BuildStretchTable32 for the first `count` of dstN entries; the pair modes fill
// them all.
void buildStretchTable32(uint32_t count, uint32_t dstN, uint32_t srcN, uint32_t* weight,
                         uint32_t* idx0, uint32_t* idx1, int32_t mode);

// Lowers positions past the last one, which rounding that added up over very
// many positions can reach.
void holdInside(uint32_t* index, uint32_t count, uint32_t srcN);

// The step of a table whose entry i is i times that, else 0.
size_t evenStep(const uint32_t* index, size_t count);

// Null, too, for a size that this target's addresses cannot express. For free().
uint8_t* allocateStretchScratch(uint64_t bytes);

// `count` words at *next, which moves past them.
uint32_t* takeWords(uint8_t** next, size_t count);

} // namespace quib
