/* What the reference's examples are written with. Each example is a function that
 * stands for one of the library's: it calls it on a picture, and shows what comes of
 * that. The lines between "shown" and "end" are the page's snippet.
 *
 * Handles that come from here are freed when the example ends. */
#ifndef QUIB_REFERENCE_GALLERY_H
#define QUIB_REFERENCE_GALLERY_H

#include "quibtool/quibtool.h"

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define EXAMPLE(function) extern "C" QuibStatus example_##function()
extern "C" {
#else
#define EXAMPLE(function) QuibStatus example_##function(void)
#endif

/* Leaves the function with the status of a call that failed. */
#define TRY(...)                                                                                   \
    do {                                                                                           \
        const QuibStatus tried = (__VA_ARGS__);                                                    \
        if (tried != QUIB_OK)                                                                      \
            return tried;                                                                          \
    } while (0)

/* The photographs: "cat" or "cup", as large as is asked for, of 1, 8, 24 or 32 bits and
 * opaque. */
IplImage* photograph(const char* name, int width, int height, int bitDepth);
/* A part of one, pixel by pixel: where there is most to see. */
IplImage* detail(const char* name, int width, int height, int bitDepth);
/* The file that a photograph comes from. */
const char* photographFile(const char* name);
/* A file for an example to write and remove, beside the pictures. */
const char* scratchFile(void);

/* A new handle, 32-bit and transparent, or 0. */
IplImage* empty(int width, int height, int bitDepth);
/* A new handle with the same pixels. */
IplImage* copyOf(const IplImage* image);
/* A 32-bit handle with the picture in an ellipse with a soft edge, and in a triangle. */
IplImage* inEllipse(const IplImage* image);
IplImage* inWedge(const IplImage* image);
/* An 8-bit plane: 255 in an ellipse, and less at its edge. */
IplImage* ellipse(int width, int height);
/* A pixel in twelve black or white. */
IplImage* speckled(const IplImage* image);
/* Windows read the nearest pixel outside the image. */
IplImage* replicated(IplImage* image);

/* Hands a handle of the example's own over, to be freed at its end. */
IplImage* keep(IplImage* image);
unsigned char* rowOf(const IplImage* image, int y);

/* Pictures from here on show each pixel as a square of this side. */
void enlarge(int times);
/* Shows what an example starts from, and what comes of it. The alpha of a 32-bit
 * handle shows. */
void before(const IplImage* image, const char* title);
void after(const IplImage* image, const char* title);
/* The same with a call, and the same of the colours alone. */
void afterCall(const IplImage* image, const char* title, const char* call);
void coloursAfter(const IplImage* image, const char* title);
/* A picture of one colour, and why. */
void flatAfter(const IplImage* image, const char* title, const char* why);
/* A line of text among the pictures: a value that a call told. */
void told(const char* format, ...) __attribute__((format(printf, 1, 2)));

/* A variation: a call that stores a new handle in `handle`, which is null before and
 * after, and one that writes pixels of `handle`. */
#define MADE(handle, title, ...)                                                                   \
    do {                                                                                           \
        TRY(__VA_ARGS__);                                                                          \
        afterCall(handle, title, #__VA_ARGS__);                                                    \
        TRY(QuibFree(&(handle)));                                                                  \
    } while (0)
#define WROTE(handle, title, ...)                                                                  \
    do {                                                                                           \
        TRY(__VA_ARGS__);                                                                          \
        afterCall(handle, title, #__VA_ARGS__);                                                    \
    } while (0)

#ifdef __cplusplus
}
#endif

#endif
