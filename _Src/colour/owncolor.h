// Which images a conversion of colours takes.
#pragma once

#include "_Src/ipl.h"

// Whether gray can be made of src in dst; reports the first test that fails.
bool ownIsColorToGray(const IplImage* src, const IplImage* dst);
