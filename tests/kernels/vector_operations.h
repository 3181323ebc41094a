// The kernels' vector functions as functions on memory, a list a level: made by
// the levels' own flags, and compared with plain arithmetic by vector_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

struct VectorOperation {
    const char* name; // the same at each width and level
    size_t bytes;     // of a, b and out
    void (*run)(uint8_t* out, const uint8_t* a, const uint8_t* b);
};

struct VectorOperations {
    const VectorOperation* first;
    size_t count;
};

// By level, and the forms of a processor that is not known.
namespace quib
{
namespace plain
{
VectorOperations vectorOperations();
}
namespace base
{
VectorOperations vectorOperations();
}
namespace avx2
{
VectorOperations vectorOperations();
}
namespace avx512
{
VectorOperations vectorOperations();
}
} // namespace quib
