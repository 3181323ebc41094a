// Handles whose pixel block touches an inaccessible page, so that a walk one
// byte too far is a fault.
#pragma once

#include "quibtool/handle.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/images.h"

class GuardedHandle
{
public:
    GuardedHandle(int32_t width, int32_t height, int32_t bitDepth, Guard guard = Guard::afterEnd)
        : image(header(width, height, bitDepth)),
          buffer(static_cast<size_t>(image->imageSize), guard)
    {
        // Borrowed pixels: freeing the record leaves them alone.
        image->imageData = buffer.as<char>();
    }

    IplImage* get() const { return image.get(); }
    IplImage* operator->() const { return image.get(); }
    void makeReadOnly() const { buffer.makeReadOnly(); }

private:
    static Image header(int32_t width, int32_t height, int32_t bitDepth)
    {
        IplImage* record = nullptr;
        if (QuibCreateHeader(width, height, bitDepth, &record) != QUIB_OK)
            abort();
        return Image(record);
    }

    Image image;
    GuardedBuffer buffer;
};
