// The curve of brightness and contrast.
#pragma once

#include "kernels/tone.h"

namespace quib
{

// Brightness and contrast are -128 to 127.
ToneCurve ownToneCurve(int32_t brightness, int32_t contrast);

} // namespace quib

using quib::ownToneCurve;
