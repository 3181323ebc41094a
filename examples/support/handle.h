// A handle that frees itself.
#pragma once

#include "quibtool/quibtool.h"

#include <memory>

struct HandleDeleter {
    void operator()(IplImage* handle) const { QuibFree(&handle); }
};
using Handle = std::unique_ptr<IplImage, HandleDeleter>;
