#define QUIB_LEVEL avx2
#include "tests/kernels/vector_operations.inl"
