#define QUIB_LEVEL avx512
#include "tests/kernels/vector_operations.inl"
