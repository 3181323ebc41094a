// The stretcher of QuibBlt_PANZOOM: that of quibtool/stretch/stretch.h with tables that
// start anywhere, step by any amount and hold on to the source's ends.
#pragma once

#include "quibtool/stretch/stretch.h"

// Fills the tables of one axis, `dstN` positions from `start` on, `step` apart.
// Before the first pixel and from the last one on both indices are that pixel,
// and the weight says nothing. Mode 0 fills idx0 alone; modes other than 0 and 2
// are linear. A weight is the share of idx0, 0 to 255, in all four bytes.
void BuildPanZoomTable(uint32_t dstN, uint32_t srcN, uint32_t* weight, uint32_t* idx0,
                       uint32_t* idx1, int32_t mode, double start, double step);

// False, with nothing written, if there is no memory for the tables.
bool StretchPanZoom32(const StretchTarget& to, const StretchSource& from, int32_t mode,
                      double startX, double startY, double stepX, double stepY);
