#define QUIB_LEVEL base
#include "kernels/level.inl"
