#include "quibtool/handle.h"
#include "quibtool/layers.h"

using namespace quib;

QuibStatus QuibComposition3(const IplImage* over, IplImage* under, IplImage** result)
{
    if (!QuibIsValid(over))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(under))
        return QUIB_BAD_ARGUMENT;
    return ownComposeImages(over, under, result, ComposeRowOver);
}
