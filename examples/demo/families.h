// The sections of the page, a file for each family of functions.
#pragma once

#include "examples/demo/demo.h"

// interchange.cpp: bitmaps in and out. bringIn fills the demo's pictures.
void bringIn(Demo& demo);
void sendOut(Demo& demo);

// handles.cpp, sizes.cpp, transfer.cpp
void showHandles(Demo& demo);
void showSizes(Demo& demo);
void showTransfer(Demo& demo);

// geometry.cpp
void showCorners(Demo& demo);
void showCoefficients(Demo& demo);
void showTurns(Demo& demo);

// tone.cpp, gray.cpp, fields.cpp
void showTone(Demo& demo);
void showGray(Demo& demo);
void showFields(Demo& demo);

// arithmetic.cpp, composition.cpp
void showArithmetic(Demo& demo);
void showAlpha(Demo& demo);
void showComposites(Demo& demo);

// convolution.cpp, windows.cpp
void showConvolution(Demo& demo);
void showWindows(Demo& demo);

// dithers.cpp, layers.cpp, surfaces.cpp
void showReducedBits(Demo& demo);
void showLayers(Demo& demo);
void showSurfaces(Demo& demo);
