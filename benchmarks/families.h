// One function a family of operations, each in the file of its name.
#pragma once

void addBlockCases();
void addStretchCases();
void addConvertCases();
void addLayerCases();
void addBlitCases();
void addZoomCases();
void addCompositeCases();
void addPixelCases();
void addPsdCases();
void addFilterCases();
void addBlurCases();
void addTurnCases();
void addConvolveCases();
void addDitherCases();
void addWarpCases();
void addSurfaceCases();
void addToneCases();

inline void addAllCases()
{
    addBlockCases();
    addStretchCases();
    addConvertCases();
    addLayerCases();
    addBlitCases();
    addZoomCases();
    addCompositeCases();
    addPixelCases();
    addPsdCases();
    addFilterCases();
    addBlurCases();
    addTurnCases();
    addConvolveCases();
    addDitherCases();
    addWarpCases();
    addSurfaceCases();
    addToneCases();
}
