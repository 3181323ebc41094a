// The rows of an alpha composite: images whose checks are done, or one tile of
// each.
#pragma once

#include "_Src/ipl.h"

// The places of a composite's images.
enum IplCompositeRole {
    IPL_COMPOSITE_A,
    IPL_COMPOSITE_B,
    IPL_ALPHA_A, // may be the source itself; null: a constant
    IPL_ALPHA_B,
    IPL_COMPOSITE_DST,
    IPL_ALPHA_DST, // may be the destination itself; null: the result's alpha goes nowhere
    IPL_COMPOSITE_ROLES
};

struct IplComposite {
    const IplImage* images[IPL_COMPOSITE_ROLES]; // all of depth 8 or of depth 16
    int32_t constantA;                           // where there is no image, 0 to M
    int32_t constantB;                           // the same, or -1: M less A's alpha
    int32_t compositeType;                       // 0 to 5
    int32_t premulAlpha;                         // 0 or 1
    int32_t divideMode;                          // 0 or 1
};

// Composites the common region of these images, which are the composite's own or
// a tile of each, and of the mask, which may be null: pixels pair up from the
// regions' corners, and are written where the mask has a 1. The colour channels
// of a row come first, one after the other, then its alphas. Data orders may
// differ.
void ownCompositePiece(const IplComposite& composite,
                       const IplImage* const images[IPL_COMPOSITE_ROLES], const IplImage* mask);
