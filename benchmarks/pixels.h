// Handles with random pixels, for benchmarks.
#pragma once

#include "quibtool/quibtool.h"

#include <cstddef>
#include <cstdint>

class Pixels
{
public:
    Pixels(int width, int height, int bitDepth)
    {
        QuibCreate0(width, height, bitDepth, &image);
        uint64_t state = 88172645463325252u;
        uint8_t* data = this->data();
        for (size_t i = 0; i < bytes(); ++i) {
            state = state * 6364136223846793005u + 1442695040888963407u;
            data[i] = static_cast<uint8_t>(state >> 56);
        }
    }
    ~Pixels() { QuibFree(&image); }
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;

    IplImage* handle() const { return image; }
    uint8_t* data() const { return reinterpret_cast<uint8_t*>(image->imageData); }
    size_t bytes() const { return static_cast<size_t>(image->widthStep) * image->height; }

private:
    IplImage* image = nullptr;
};
