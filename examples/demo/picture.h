// A PNG file of a handle's pixels, for the page.
#pragma once

#include "quibtool/quibtool.h"

#include <string>

enum class Alpha { show, ignore };
enum class Colours { all, few };

// Writes an 8-, 24- or 32-bit handle; `alpha` says whether byte 3 of a 32-bit
// pixel counts. Few colours are 256 chosen ones, or all if there are no more; with
// alpha, a pixel is then either there or not. False if the file cannot be written.
bool writePng(const IplImage* image, const std::string& file, Alpha alpha, Colours colours);
