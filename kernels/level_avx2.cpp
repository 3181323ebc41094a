#define QUIB_LEVEL avx2
#include "kernels/level.inl"
