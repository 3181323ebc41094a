#include "quibtool/layers.h"

#include "kernels/kernels.h"
#include "quibtool/handle.h"
#include "quibtool/startup.h"

using namespace quib;

namespace
{

// By over's alpha alone. A processor without MMX leaves the target's alpha.
void composeRowByAlpha(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count)
{
    const quib::LayerKernels& kernels = quib::kernels().layers;
    (quibHasMMX ? kernels.alphaBlend : kernels.colourBlend)(target, under, over, count);
}

} // namespace

QuibStatus QuibComposition_s(const IplImage* over, IplImage* under, IplImage** result)
{
    if (!QuibIsValid(over))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(under))
        return QUIB_BAD_ARGUMENT;
    return ownComposeImages(over, under, result, composeRowByAlpha);
}
