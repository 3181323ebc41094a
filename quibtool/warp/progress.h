// Numbers that grow by repeated addition.
#pragma once

#include <cstdint>

// What `count` additions of `step` to `start`, each rounded, come to, to the bit,
// in a time that depends on the count hardly at all.
double ownAdvanced(double start, double step, uint32_t count);
