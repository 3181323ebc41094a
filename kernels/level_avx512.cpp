#define QUIB_LEVEL avx512
#include "kernels/level.inl"
