// What the wrappers of pixel operations have in common: they clone their first
// handle and let the engine write into the clone.
#pragma once

#include "quibtool/handle.h"

#include <type_traits>

namespace quib
{

// Makes the clone of `src` that an operation of it, and of srcB unless that is
// null, writes into. A failure is left to the operation's own checks: `*out`
// then stays as it is.
void ownCloneForOperation(const IplImage* src, const IplImage* srcB, IplImage** out);

// `site` is what the last-error text names. Of the operations, some take a value.
QuibStatus ownRunOnClone(void (*operation)(const IplImage* src, IplImage* dst), const IplImage* src,
                         IplImage** out,
                         const QuibCallSite& site = {__builtin_FILE(), __builtin_LINE()});
template<class Value>
QuibStatus ownRunOnClone(void (*operation)(const IplImage* src, IplImage* dst, Value value),
                         const IplImage* src, IplImage** out, std::type_identity_t<Value> value,
                         const QuibCallSite& site = {__builtin_FILE(), __builtin_LINE()})
{
    if (!QuibIsValid(src, site) || !out)
        return QUIB_BAD_ARGUMENT;
    ownCloneForOperation(src, nullptr, out);
    operation(src, *out, value);
    return QUIB_OK;
}
QuibStatus ownRunPairOnClone(void (*operation)(const IplImage* srcA, const IplImage* srcB,
                                               IplImage* dst),
                             const IplImage* srcA, const IplImage* srcB, IplImage** out,
                             const QuibCallSite& site = {__builtin_FILE(), __builtin_LINE()});

} // namespace quib
