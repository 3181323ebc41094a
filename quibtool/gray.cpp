#include "_Src/ipl.h"
#include "quibtool/handle.h"

namespace
{

// Every pixel will be written, unless the engine refuses and its report comes
// back.
void createGray(const IplImage* src, IplImage** dst)
{
    if (iplGetErrorMode() == 0)
        QuibCreate0(src->width, src->height, 8, dst);
    else
        QuibCreate(src->width, src->height, 8, dst, 0xFF000000u);
}

} // namespace

QuibStatus QuibColorConversion(IplImage* a, IplImage* b)
{
    if (!QuibIsValid(a))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(b))
        return QUIB_BAD_ARGUMENT;
    return a->width == b->width && a->height == b->height ? QUIB_OK : QUIB_BAD_ARGUMENT;
}

QuibStatus QuibColorToGray(IplImage* src, IplImage** dst)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!dst)
        return QUIB_BAD_ARGUMENT;
    createGray(src, dst);
    iplColorToGray(src, *dst);
    return QUIB_OK;
}

QuibStatus QuibBitonalToGray(IplImage* src, IplImage** dst, int32_t zeroScale, int32_t oneScale)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!dst)
        return QUIB_BAD_ARGUMENT;
    createGray(src, dst);
    iplBitonalToGray(src, *dst, zeroScale, oneScale);
    return QUIB_OK;
}
