#define QUIB_LEVEL base
#include "tests/kernels/vector_operations.inl"
