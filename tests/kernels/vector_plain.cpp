#define QUIB_LEVEL plain
#define QUIB_PLAIN_VECTORS
#include "tests/kernels/vector_operations.inl"
