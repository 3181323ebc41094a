// What is computed once, when the library is loaded, and only read afterwards.
#pragma once

#include <cstdint>

// Blend weights for an upper pixel of alpha `over` on a lower one of alpha
// `under`, at [over * 256 + under]: the lowest three bytes each hold the upper
// pixel's colour weight, the top byte the alpha of the result (Porter and Duff
// 1984, "over").
extern const uint32_t* const pairBlendTable;

// Entry i holds i in all four bytes.
extern const uint32_t* const identityTable;

// The address of the central element of a 511 x 511 table of hues in degrees,
// at [i * 511 + j] with i = red - green and j = red - blue; 360 for a gray.
extern const int32_t* const hueTable;

// Nonzero if the processor has MMX: bit 23 of its feature word. One result alone
// depends on it, the alpha that QuibComposition_s leaves.
extern uint32_t quibHasMMX;

// 1 if the processor is of the later generation, else 0.
extern int32_t quibProcessorFlag;

extern int32_t engineQuadWarpEnabled;

void QuibBuildTables();
int32_t QuibProcessorLevel();

// Builds the tables and reads the processor; once, however often it is called.
void QuibStartUp();

namespace quib
{

// The answers of the processor that the two flags go by.
struct ProcessorIdentity {
    uint32_t highestLeaf;
    char vendor[12];
    uint32_t signature; // EAX of leaf 1: family in bits 8 to 11, model in bits 4 to 7
    uint32_t features;  // EDX of leaf 1
};
ProcessorIdentity ownIdentifyProcessor();
uint32_t ownMmxFlag(const ProcessorIdentity& identity);
int32_t ownProcessorLevel(const ProcessorIdentity& identity);

} // namespace quib
