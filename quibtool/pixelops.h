// What the wrappers of pixel operations have in common: they clone their first
// handle and let the engine write into the clone.
#pragma once

#include "quibtool/handle.h"

#include <type_traits>

// Makes the clone of `src` that an operation of it, and of srcB unless that is
// null, writes into. A failure is left to the operation's own checks: `*out`
// then stays as it is.
void ownCloneForOperation(const IplImage* src, const IplImage* srcB, IplImage** out);

// `row` is what the last-error text names.
template<class... Values>
QuibStatus ownRunOnClone(void (*operation)(const IplImage* src, IplImage* dst, Values...),
                         int32_t row, const IplImage* src, IplImage** out,
                         std::type_identity_t<Values>... values)
{
    if (!QuibIsValid(src, row))
        return QUIB_BAD_ARGUMENT;
    if (!out)
        return QUIB_BAD_ARGUMENT;
    ownCloneForOperation(src, nullptr, out);
    operation(src, *out, values...);
    return QUIB_OK;
}

QuibStatus
ownRunPairOnClone(void (*operation)(const IplImage* srcA, const IplImage* srcB, IplImage* dst),
                  int32_t row, const IplImage* srcA, const IplImage* srcB, IplImage** out);
