/* QuibTool: image manipulation for programs that edit and display pictures and
 * video frames. This header is the whole exported interface. Plain C.
 *
 * A handle is the address of an IplImage. The library makes four kinds, by bits
 * per pixel: 1 and 8 (one channel), 24 (bytes B, G, R) and 32 (bytes B, G, R,
 * A). Rows lie top row first, widthStep bytes apart, padded to 4 bytes. The
 * program owns a handle from the call that stores it until QuibFree.
 *
 * Every function returns a QuibStatus: 0 is success, and every failure has the
 * top bit set. Besides the statuses below, a function that checks a record's
 * fields returns the check's own small negative status, for example -10 for a
 * bad size.
 *
 * A failed check of an engine operation, and memory that runs out for pixels,
 * end the process with exit(1). A check that fails where a status comes back
 * leaves the engine's own status set: later operations that look at it do
 * nothing, or end the process.
 *
 * The paragraphs below a function: Depths, the bits per pixel of the handles that
 * it serves; Modes, the values of an argument that chooses; Fails, its statuses
 * and what they come for; Ends the process, the arguments that a program has to
 * keep from it; Ownership, what is to be freed; Source, its published method.
 *
 * Nothing here takes locks. Different handles may be used from different
 * threads; one handle must not be used by two at once. */
#ifndef QUIBTOOL_H
#define QUIBTOOL_H

#include "iplimage.h"
#include "version.h"

#include <stdint.h>
#if !defined(__cplusplus)
#include <stdbool.h>
#endif

#if defined(_WIN32)
typedef long QuibStatus;
#else
typedef int32_t QuibStatus;
#endif

/* __extension__ is for the bool of one function in C of 1989. */
#if defined(__GNUC__) && !defined(_WIN32)
#define QUIB_API __extension__ __attribute__((visibility("default")))
#elif defined(__GNUC__) || defined(__clang__)
#define QUIB_API __extension__
#else
#define QUIB_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define QUIB_OK ((QuibStatus)0)
#define QUIB_FAILED ((QuibStatus)0x80000000u)         /* no more exact reason */
#define QUIB_BAD_WIDTH ((QuibStatus)0x80000001u)      /* width below 1 */
#define QUIB_BAD_HEIGHT ((QuibStatus)0x80000002u)     /* height below 1 */
#define QUIB_BAD_DEPTH ((QuibStatus)0x80000003u)      /* bitDepth not 1, 8, 24 or 32 */
#define QUIB_BAD_ARGUMENT ((QuibStatus)0x80000005u)   /* bad argument or bad handle */
#define QUIB_NO_HEADER ((QuibStatus)0x80000006u)      /* no memory for a record */
#define QUIB_DIB_BAD_WIDTH ((QuibStatus)0x80000100u)  /* biWidth below 1 */
#define QUIB_DIB_BAD_HEIGHT ((QuibStatus)0x80000101u) /* biHeight below 1 */
#define QUIB_DIB_BAD_DEPTH ((QuibStatus)0x80000102u)  /* biBitCount not 1, 8, 24 or 32 */
#define QUIB_DIB_MISMATCH ((QuibStatus)0x80000103u)   /* the bitmap does not fit the handle */

#define QUIB_SURFACE_BAD_WIDTH ((QuibStatus)0x80000200u)  /* not as wide as the handle */
#define QUIB_SURFACE_BAD_HEIGHT ((QuibStatus)0x80000201u) /* not as high as the handle */
#define QUIB_SURFACE_BAD_DEPTH ((QuibStatus)0x80004005u)  /* bits per pixel not served */

/* right and bottom are exclusive. Functions that take a rectangle by address
 * clip it to the image in place. */
typedef struct QuibRect {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} QuibRect;

typedef struct QuibPoint {
    int32_t x;
    int32_t y;
} QuibPoint;

typedef struct QuibInfo {
    int32_t width;     /* pixels */
    int32_t height;    /* rows */
    int32_t bitDepth;  /* bits per pixel: depth, any sign bit included, times channels */
    int32_t widthStep; /* bytes from one row to the next */
} QuibInfo;

/* ---- Handles ------------------------------------------------------------- */

/* Makes a handle of width x height pixels of bitDepth 1, 8, 24 or 32 and fills it as
 * QuibFillColor does; the pixels of a 24-bit handle stay undefined. A size whose bytes
 * wrap to 0 in 32 bits, such as 65536 x 16384 at 32 bits, gives 0 and a record that
 * fails every check, so that QuibFree refuses it.
 *
 * Depths: 1, 8, 24, 32.
 * Fails: QUIB_BAD_WIDTH, QUIB_BAD_HEIGHT, QUIB_BAD_DEPTH and QUIB_NO_HEADER, looked for
 * in this order; *out is then untouched.
 * Ends the process: memory that runs out for the pixels, and at 1 and 8 bits a size
 * whose bytes wrap to 0.
 * Ownership: the caller frees *out with QuibFree. */
QUIB_API QuibStatus QuibCreate(int32_t width, int32_t height, int32_t bitDepth, IplImage** out,
                               uint32_t fillColor);

/* The same as QuibCreate, with undefined pixels. A size whose bytes wrap to 0 gives
 * such a record at all depths.
 *
 * Depths: 1, 8, 24, 32.
 * Fails: QUIB_BAD_WIDTH, QUIB_BAD_HEIGHT, QUIB_BAD_DEPTH and QUIB_NO_HEADER; *out is
 * then untouched.
 * Ends the process: memory that runs out for the pixels.
 * Ownership: the caller frees *out with QuibFree. */
QUIB_API QuibStatus QuibCreate0(int32_t width, int32_t height, int32_t bitDepth, IplImage** out);

/* Frees the handle in *handleAddress with all that it owns and zeroes the variable.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT, with nothing freed, for anything that is not a good handle.
 * Ends the process: never.
 * Ownership: the record's region, mask, tile record and pixels are freed with it;
 * pixels that the record only borrows are not. */
QUIB_API QuibStatus QuibFree(IplImage** handleAddress);

/* Fills *info with the width and height in pixels, the bits a pixel and the bytes from
 * one row to the next.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle; the status of a record's check. *info is
 * then untouched.
 * Ends the process: never. */
QUIB_API QuibStatus QuibGetInfo(const IplImage* handle, QuibInfo* info);

/* Stores the address of the first pixel, good until the handle is freed. Nothing is
 * locked or counted.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and a null dataOut; the status of a
 * record's check.
 * Ends the process: never.
 * Ownership: the pixels stay the handle's. */
QUIB_API QuibStatus QuibLockData(const IplImage* handle, void** dataOut);

/* The closing bracket of QuibLockData; changes nothing.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle; the status of a record's check.
 * Ends the process: never. */
QUIB_API QuibStatus QuibUnlockData(const IplImage* handle);

/* Fills a rectangle, which is clipped in place, or the whole image if rect is null. One
 * channel: the value, as a signed one, is clamped to the depth's range, a mask of the
 * record is kept to, and without rect its region; with rect a region that it held is
 * lost. 32 bits: the word B | G << 8 | R << 16 | A << 24, row padding included. 24
 * bits: nothing is written.
 *
 * Depths: 1, 8, 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and for a rectangle that is empty after
 * clipping, QUIB_FAILED for another number of channels.
 * Ends the process: a record of one channel that fails its check or holds floats. */
QUIB_API QuibStatus QuibFillColor(IplImage* handle, uint32_t fillColor, QuibRect* rect);

/* Stores 1 if no byte of the rows, padding included but the alpha bytes of a 32-bit
 * image left out, exceeds threshold, else 0; and 1 for a record that fails its check.
 * Of a 1-bit image whole bytes of eight pixels are compared.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle; the status of a record's check.
 * Ends the process: never. */
QUIB_API QuibStatus QuibIsBlack(const IplImage* handle, uint32_t threshold, int32_t* result);

/* Copies all pixel rows of src, of plane order the first plane, to *dstAddress; a null
 * *dstAddress gets a new handle of the same size and depth. The size of an existing
 * target is not examined: it must be at least as large as src. One that is no good
 * handle stays as it is.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad src and a null dstAddress; the status of a
 * record's check; QUIB_BAD_DEPTH for a depth that has no handle, and QUIB_NO_HEADER.
 * Ends the process: memory that runs out for a new handle's pixels.
 * Ownership: the caller frees a new handle with QuibFree. */
QUIB_API QuibStatus QuibCopy(const IplImage* src, IplImage** dstAddress);

/* Stores a new handle with the same header, region and pixels. The mask and the tiles
 * of a record stay behind.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad src and a null out; the status of a record's
 * check; QUIB_FAILED if no handle could be made.
 * Ends the process: memory that runs out.
 * Ownership: the caller frees *out with QuibFree. */
QUIB_API QuibStatus QuibClone(const IplImage* src, IplImage** out);

/* ---- Transfer ------------------------------------------------------------- */

/* Moves a rectangle of src to a rectangle of dst. Both are given by value, right and
 * bottom exclusive. Clipping to the images moves a rectangle's corner but never its
 * size: one that starts left of or above its image shifts the content, and one that
 * reaches past the right or bottom edge still moves its full size.
 *
 * Equal sizes and equal bytes a pixel: rows are copied raw, top row first, with what
 * reaches past a row going on into the next one, up to the end of the pixels; src and
 * dst may be one handle. Pixels of less than a byte do not move. stretch nonzero and
 * different sizes: nearest pixels. Handles that both have four channels take the pixel
 * at or before each position, in the same raw way; others go through the engine's
 * resize. Anything else: the engine copies what both rectangles have inside their
 * images. Where the engine works, a region that a record held before is lost.
 *
 * Depths: 8, 24, 32; to stretch, 1 too.
 * Modes: stretch 0 moves, any other value stretches to the nearest pixels.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, a size below 1 and a rectangle that misses
 * its image; QUIB_FAILED without memory for a region or a stretch; the status of a
 * record's check.
 * Ends the process: where the engine works: images that differ in depth or channels,
 * and whatever else its resize and copy refuse. */
QUIB_API QuibStatus QuibBlt(IplImage* src, int32_t srcLeft, int32_t srcTop, int32_t srcRight,
                            int32_t srcBottom, IplImage* dst, int32_t dstLeft, int32_t dstTop,
                            int32_t dstRight, int32_t dstBottom, int32_t stretch);

/* Draws a moving view of src. Column srcX of src lies under dstLeft, and each column of
 * dst is stepX columns of src further; rows likewise.
 *
 * The four edges are cut to whole pixels toward zero, and the origin follows them.
 * Samples never leave src: columns and rows past its edges, or past the last whole one
 * under the view, repeat the nearest. An origin left of or above src by a pixel or more
 * loses its whole pixels. The size of the destination rectangle is not clipped: on the
 * right and bottom it is to lie inside dst.
 *
 * Between handles that are not both 32-bit the engine scales the whole pixels under the
 * view, without their fraction; mode is then its interpolation (0 nearest, 1 linear, 2
 * cubic, 3 the average of an area, which only shrinks). A region that a record held
 * before is then lost.
 *
 * Depths: 32; others by the engine.
 * Modes: 0 nearest, 1 linear, 2 linear along a smoothstep curve, any other value
 * linear.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, a view of one pixel or less of either
 * image or of no whole pixel after the cut, and one that misses either; QUIB_FAILED
 * without memory for a region or a stretch; the status of a record's check.
 * Ends the process: between handles that are not both 32-bit: another mode, an average
 * that grows, and images that differ in depth or channels. */
QUIB_API QuibStatus QuibBlt_PANZOOM(IplImage* src, double srcX, double stepX, double srcY,
                                    double stepY, IplImage* dst, double dstLeft, double dstRight,
                                    double dstTop, double dstBottom, int32_t mode);

/* ---- Composition --------------------------------------------------------- */

/* Lays a 32-bit image over another, by the alphas of both, colours not premultiplied. A
 * null result writes into under; else *result is written, and made with under's size
 * first if it is null. Images of equal widthStep and height are one run, row padding
 * included. Else the smaller width and height are walked in rows that lie four times a
 * width apart: each image's own width without a result; with one, under's width for
 * over and for *result, and over's width for under.
 *
 * Depths: 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, for another depth, and for a result
 * without pixels; the status of a record's check.
 * Ends the process: memory that runs out for a new result's pixels.
 * Ownership: the caller frees a new *result with QuibFree.
 * Source: T. Porter and T. Duff, Compositing Digital Images, 1984: "over". */
QUIB_API QuibStatus QuibComposition3(const IplImage* over, IplImage* under, IplImage** result);

/* Does the same as QuibComposition3 in place at a position, null for (0, 0), inside a
 * rectangle, null for no limit. Here y grows upwards and row r of an image stands at
 * -r: position is where over's first pixel goes on under, and the rectangle's top lies
 * above its bottom, left and top inclusive. Neither is written. What falls outside
 * under is left out, be it all of over. Rows are taken to lie four times a width apart;
 * with neither position nor rectangle, images of one size are one run, row padding
 * included.
 *
 * Depths: 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, for another depth and for a rectangle that
 * is empty or upside down; the status of a record's check.
 * Ends the process: never.
 * Source: T. Porter and T. Duff, Compositing Digital Images, 1984: "over". */
QUIB_API QuibStatus QuibComposition4(const IplImage* over, IplImage* under,
                                     const QuibPoint* position, const QuibRect* rectangle);

/* As QuibComposition3, but by over's alpha alone: a colour becomes under + ((over -
 * under) * alpha >> 8), and the alpha of every pixel that is walked 255. On a processor
 * without MMX the target keeps its alpha.
 *
 * Depths: 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, for another depth, and for a result
 * without pixels; the status of a record's check.
 * Ends the process: memory that runs out for a new result's pixels.
 * Ownership: the caller frees a new *result with QuibFree. */
QUIB_API QuibStatus QuibComposition_s(const IplImage* over, IplImage* under, IplImage** result);

/* ---- Alpha --------------------------------------------------------------- */

/* Stores the low byte of alpha in the alpha byte of each pixel of a 32-bit handle, row
 * padding left as it is. With rect, clipped in place: the first bottom - top rows, and
 * in each the bytes left + 3, left + 7, ..., one for each of the right - left columns;
 * left counts bytes here.
 *
 * Depths: 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, for fewer than four channels and for a
 * rectangle that is empty after clipping.
 * Ends the process: never. */
QUIB_API QuibStatus QuibSetAlphaS(IplImage* handle, QuibRect* rect, uint32_t alpha);

/* Stores plane's byte in the alpha byte of each pixel of a 32-bit handle; plane is a
 * one-channel 8-bit image at least as large. A null plane stands for the alpha that is
 * there. A percent other than 100 first makes it byte * scale / 256, where scale is the
 * low byte of percent * 256 / 100; both divisions round down, so that 40 percent of 255
 * are 101, and only 0 to 100 are of use.
 *
 * Depths: 32; plane 8.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and fewer than four channels, or more than
 * one in plane.
 * Ends the process: never. */
QUIB_API QuibStatus QuibSetAlpha(IplImage* handle, const IplImage* plane, uint32_t percent);

/* ---- Alpha composites ---------------------------------------------------- */

/* Two 32-bit handles are laid over one another into a new one, made as a clone of srcB.
 * compositeType says how: with A and B the elements, weighted by their alphas aA and
 * aB, and mul(x, y) = x * y / 255, rounded down,
 *
 *     type      colour                                    alpha
 *     0 over    A + mul(255 - aA, B)                      aA + mul(255 - aA, aB)
 *     1 in      mul(A, aB)                                mul(aA, aB)
 *     2 out     mul(A, 255 - aB)                          mul(aA, 255 - aB)
 *     3 atop    mul(A, aB) + mul(255 - aA, B)             aB
 *     4 xor     mul(255 - aB, A) + mul(255 - aA, B)       the same of aA and aB
 *     5 plus    A + B                                     aA + aB
 *
 * where what exceeds 255 is 255. The colours stay premultiplied.
 *
 * A rectangle limits the pixels of its image; it is clipped in place, to srcB for
 * rectResult. A missing rectB or rectResult is the region of the image before it, if
 * that has one. The pixels of the three regions pair up from their corners, as many as
 * the smallest holds, where the inputs' masks have a 1. The others keep srcB's values.
 *
 * For the call's length both inputs carry regions and a declared alpha channel: neither
 * may be in use elsewhere. At its end both are gone from all three, with any region
 * that a program had set.
 *
 * Depths: 32.
 * Modes: compositeType 0 over, 1 in, 2 out, 3 atop, 4 xor, 5 plus.
 * Fails: QUIB_BAD_ARGUMENT for bad handles, a null result, and records of less than 32
 * bits a pixel or another number of channels, which then keep alphaChannel 4; the
 * status of a record's check.
 * Ownership: the caller frees *result with QuibFree.
 * Source: T. Porter and T. Duff, Compositing Digital Images, 1984. */

/* Takes the alphas from the fourth channels and writes that of the result. premulAlpha
 * 1: the colours carry their alpha already and are not weighted. divideMode 1: computes
 * in float and divides each colour by the result's alpha, which makes it straight
 * again, and rounds it to nearest; the alpha is that of the table. A rectangle that is
 * empty after clipping ends the call with QUIB_OK, the result being srcB's clone;
 * regions given before it stay in the inputs.
 *
 * Ends the process: another compositeType, a premulAlpha or divideMode other than 0 and
 * 1, inputs of different depths, elements of other than 8 or 16 unsigned bits, a
 * program's own region with a channel of interest that is 4 or that not all three
 * images get, and memory that runs out. */
QUIB_API QuibStatus QuibComposition1(IplImage* srcA, IplImage* srcB, IplImage** result,
                                     QuibRect* rectA, QuibRect* rectB, QuibRect* rectResult,
                                     int32_t compositeType, int32_t premulAlpha,
                                     int32_t divideMode);

/* Takes the low bytes of alphaA and alphaB for all pixels, weights the colours, and
 * leaves the result's fourth channel as it is in srcB.
 *
 * Ends the process: another compositeType, a rectangle that is empty after clipping,
 * unless its size wraps in 32 bits, inputs of different depths, elements of other than
 * 8 or 16 unsigned bits, a program's own region with a channel of interest that is 4 or
 * that not all three images get, and memory that runs out. */
QUIB_API QuibStatus QuibComposition2(IplImage* srcA, IplImage* srcB, uint32_t alphaA,
                                     uint32_t alphaB, IplImage** result, QuibRect* rectA,
                                     QuibRect* rectB, QuibRect* rectResult, int32_t compositeType);

/* ---- Bitmaps in memory, BMP files, device contexts ------------------------ */

/* A packed bitmap is a BITMAPINFOHEADER of 40 bytes, a colour table or masks,
 * and rows padded to 4 bytes. What a block of global memory is too short for
 * reads 0 and is not written. */

/* Makes a handle from the packed bitmap in a block of movable global memory: 1, 8, 24
 * or 32 bits per pixel, biHeight above 0. Every pixel of a 32-bit handle is opaque.
 * 24-bit and 32-bit bitmaps become 32-bit handles as if their pixels followed the
 * header at once; all others obey the whole header.
 *
 * Depths: bitmaps and handles of 1, 8, 24, 32.
 * Modes: targetDepth 0 keeps the bitmap's depth, 8 gives an 8-bit handle, any other
 * value a 32-bit one.
 * Fails: QUIB_BAD_ARGUMENT for a null argument or a block that cannot be locked;
 * QUIB_DIB_BAD_WIDTH, QUIB_DIB_BAD_HEIGHT, QUIB_DIB_BAD_DEPTH, QUIB_NO_HEADER. *out is
 * then untouched. Where the engine converts, the check's -10 for a size whose bytes
 * wrap to 0 in 32 bits, with a record in *out that QuibFree refuses.
 * Ends the process: where the engine converts, which is into 8 bits, from 1 and 8 bits,
 * and from 24 bits into 24: a header that it refuses and an RLE stream with a line that
 * ends before it is full, or damaged; and memory that runs out for the pixels.
 * Ownership: the caller frees *out with QuibFree. The block stays the caller's, and is
 * unlocked at the end. */
QUIB_API QuibStatus Dib2Quib(void* dibHandle, IplImage** out, int32_t targetDepth);

/* Makes a 32-bit handle from a BITMAPINFOHEADER and pixels at two addresses. Row y,
 * counted from the lowest, is looked for y * ((biBitCount * biWidth + 31) / 32 *
 * biBitCount / 8) bytes after bits: right for 32 bits only. 24 and 32 bits: every pixel
 * is opaque. 1 and 8 bits: the bytes at bits, biHeight such rows of them, are taken for
 * colour table and pixels, and what they are too few for is 0.
 *
 * Depths: bitmaps of 32; handles of 32.
 * Fails: QUIB_BAD_ARGUMENT for a null header or null bits, and without memory for a
 * bitmap of 1 or 8 bits; QUIB_DIB_BAD_WIDTH, QUIB_DIB_BAD_HEIGHT, QUIB_DIB_BAD_DEPTH,
 * QUIB_NO_HEADER. out must be good.
 * Ends the process: a header of 1 or 8 bits that the engine refuses, and memory that
 * runs out for the pixels.
 * Ownership: the caller frees *out with QuibFree. */
QUIB_API QuibStatus Dib2Quib0(const void* header, const void* bits, IplImage** out);

/* Writes a handle into the packed bitmap of its size, biHeight above 0, in a block of
 * movable global memory. 32-bit handles: a 24-bit bitmap, without the alpha. 1-bit
 * handles: an 8-bit bitmap, in the nearest colours of its table. 8-bit handles pass
 * with a bitmap of 8 to 15 bits and 24-bit ones with one of 24 to 31, but are read as
 * if they were of 32 bits and written as 24.
 *
 * Depths: 32 to 24, 1 to 8.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, a null dibHandle and a block that cannot
 * be locked; QUIB_DIB_MISMATCH for any other pair, the block then staying locked; the
 * status of the handle's check.
 * Ends the process: a 1-bit handle with a bitmap of 9 to 15 bits, or with a header that
 * the engine refuses.
 * Ownership: the block stays the caller's. */
QUIB_API QuibStatus Quib2Dib(const IplImage* handle, void* dibHandle);

/* Makes a handle from a BMP file of 1, 8, 24 or 32 bits per pixel; colour table and
 * pixels follow the headers at once. 24-bit and 32-bit files give a 32-bit handle: with
 * alpha 0, or with the alpha of the file. Pixels of alpha 0 vanish when they are
 * composed: QuibSetAlphaS(handle, 0, 255) makes them opaque. 1-bit and 8-bit files give
 * a gray handle of their depth. What a short file lacks reads 0. With biCompression 3
 * and biClrUsed 0 the pixels of a 32-bit file are taken from 12 bytes further on: its
 * first three are lost, and three of 0 end it.
 *
 * Depths: files of 1, 8, 24, 32; handles of 1, 8, 32.
 * Fails: QUIB_BAD_ARGUMENT for a null argument, QUIB_FAILED for a file that cannot be
 * opened, is shorter than 14 bytes, does not begin with "BM" or has another depth. 0
 * with *out untouched for a file shorter than its headers and for one too large for
 * memory, and with *out null without memory for the record.
 * Ends the process: a header that the engine refuses, such as one with rows top first,
 * an RLE stream with a line that ends before it is full, or damaged, and memory that
 * runs out for the pixels.
 * Ownership: the caller frees *out with QuibFree. */
QUIB_API QuibStatus QuibLoadBMP(const char* fileName, IplImage** out);

/* Makes two handles from a PSD file with two layers that have pixels: the lower layer's
 * picture, of 32 bits, whose alpha is the layer's mask or, without one, its
 * transparency; and the upper layer's mask or transparency, of 8 bits. Both have the
 * canvas's size, with 0 where the layer is not; a mask has its default value outside
 * its own rectangle. 255 becomes 254 in *outMask and in the alpha of *outImage.
 *
 * Files of versions 1 and 2, of 8, 16 and 32 bits a channel, in gray, indexed, RGB and
 * CMYK colours. Layers that divide groups or are empty do not count; opacity,
 * visibility and effects play no part.
 *
 * Depths: handles of 32 and 8.
 * Fails: QUIB_BAD_ARGUMENT for a null argument and a file that cannot be opened, is
 * damaged or of another kind, or would take memory out of proportion to its pixels:
 * bitmaps of 2 GiB, or of 128 MiB together and sixteen times what its layers hold.
 * QUIB_FAILED for another number of layers and a lower one with neither mask nor
 * transparency. Both outputs are then untouched. QUIB_FAILED with *outImage set for an
 * upper layer with neither and, *outMask then null, without memory for its record.
 * While the engine's status is that of an earlier failure, QUIB_BAD_ARGUMENT with a
 * record without pixels in *outMask, which QuibFree refuses.
 * Ends the process: memory that runs out for the handles' pixels.
 * Ownership: the caller frees *outImage and *outMask with QuibFree. */
QUIB_API QuibStatus QuibLoadFramePsd2Bmp(const char* fileName, IplImage** outImage,
                                         IplImage** outMask);

/* Draws the handle with its top left corner at (x, y) of a device context; an HDC. The
 * values of 1 and 8 bits are grays. 0 even if the device fails.
 *
 * Depths: 1, 8, 24, 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle.
 * Ends the process: never. */
QUIB_API QuibStatus QuibDrawToHDC(const IplImage* handle, void* hdc, int32_t x, int32_t y);

/* ---- Size ---------------------------------------------------------------- */

/* Modes of the functions below. 0 to 2 are also IPL_INTER_NN, IPL_INTER_LINEAR
 * and IPL_INTER_CUBIC, which the engine's routes take them for; IPL_INTER_SUPER
 * averages areas and only reduces. */
#define STRETCH_NEAREST 0
#define STRETCH_LINEAR 1
#define STRETCH_SMOOTH 2 /* two samples an axis, weighted by 3t^2 - 2t^3 */
/* Rows stay in pairs, for two interlaced fields: even rows come from even rows,
 * odd ones from odd ones. Both heights must be even. */
#define STRETCH_PAIRS_NEAREST 0x7000
#define STRETCH_PAIRS_LINEAR 0x7001

/* Fits src into the size of dst, an existing handle. Regions play no part in the choice
 * of route:
 *  - both of 32 bits a pixel and mode not IPL_INTER_SUPER: a stretch by mode, any other
 *    value being linear. Output pixel 0 lies on input pixel 0 and the next ones source
 *    / destination apart; weights have 8 bits, and alpha is treated as a colour. Rows
 *    count as width * 4 bytes long;
 *  - both of 8 bits and mode not IPL_INTER_SUPER: nearest, whatever the mode;
 *  - others: the engine's zoom, reduction or, shrinking on one axis alone, resize, with
 *    regions and masks, in a mode IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC or,
 *    growing on neither, IPL_INTER_SUPER. Linear and cubic become nearest where both
 *    axes shrink by whole numbers.
 * Handles of the same size, depth and widthStep are copied, padding included.
 *
 * Depths: 1, 8, 24, 32.
 * Modes: 32 bits: STRETCH_NEAREST, STRETCH_LINEAR, STRETCH_SMOOTH,
 * STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR. 8 bits: nearest. 1 and 24 bits:
 * IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC. All that do not grow:
 * IPL_INTER_SUPER.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, QUIB_FAILED without memory for a stretch.
 * Ends the process: on the engine's route: another mode, IPL_INTER_SUPER where either
 * side grows, images that differ in depth, data order or channels or fail their check,
 * and different origins where both axes shrink or the mode is IPL_INTER_SUPER. */
QUIB_API QuibStatus QuibResize(IplImage* src, IplImage* dst, int32_t mode);

/* Scales the region of src, or the whole of it, to the size of the region of dst, or to
 * the whole of it, by the engine at every depth.
 *
 * Depths: 1, 8, 24, 32.
 * Modes: IPL_INTER_NN, IPL_INTER_LINEAR and IPL_INTER_CUBIC to any size,
 * IPL_INTER_SUPER to none that grows.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle; the status of a record's check.
 * Ends the process: another mode, IPL_INTER_SUPER where either side grows, one image on
 * both sides, and images that differ in depth, data order or channels or, with
 * IPL_INTER_SUPER, in origin. */
QUIB_API QuibStatus QuibResizeFit(IplImage* src, IplImage* dst, int32_t mode);

/* ---- Geometry ------------------------------------------------------------ */

/* Writes src to dst with its rows or columns reversed. dst may be src. Regions,
 * channels of interest and masks limit what is written: the common extent of the
 * regions is reversed in itself, and a mask of src turns round with the picture, one of
 * dst does not. A declared alpha channel stays as it is in dst.
 *
 * Depths: 1, 8, 24, 32.
 * Modes: flipAxis 0 reverses rows (top and bottom change places), 1 columns, -1 both.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and for another width, height or number of
 * bits a pixel; the status of a record's check.
 * Ends the process: another flipAxis, a mask in place, 1-bit records with a declared
 * alpha channel, and records that differ in depth or in the channels that take part. */
QUIB_API QuibStatus QuibFlip(IplImage* src, IplImage* dst, int32_t flipAxis);

/* Interpolation of the functions below: IPL_INTER_NN, IPL_INTER_LINEAR or
 * IPL_INTER_CUBIC, plus IPL_SMOOTH_EDGE for soft edges of the shape where it comes from
 * a rectangle. Sources below 4 by 4 pixels are at most linear, and bits, and images of
 * one column or row, nearest.
 *
 * Regions limit what is read and written; coordinates are of whole-image pixels. Images
 * must agree in depth, number of channels and, with several, data order, and differ
 * from one another; a declared alpha channel is left alone. C wants a cast where an
 * array that is not const is handed over as const, such as (const double (*)[3])coeffs;
 * C++ does not. */

/* Turns src by `angle` degrees, counter-clockwise, about (xCenter, yCenter) into dst,
 * an existing handle. What leaves dst is lost, and what is not covered keeps its
 * pixels. By 90, 180 and 270 degrees pixels are moved as they are, whatever
 * `interpolate` is.
 *
 * Depths: 1, 8, 24, 32.
 * Modes: IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC, plus IPL_SMOOTH_EDGE.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle; the status of a record's check.
 * Ends the process: one image on both sides, images that differ in depth, origin, data
 * order or channels, and an angle that is not finite; and, but by right angles, another
 * interpolation and a region of src that is one column or row or lies outside it. */
QUIB_API QuibStatus QuibRotate(IplImage* src, IplImage* dst, double angle, int32_t xCenter,
                               int32_t yCenter, int32_t interpolate);

/* The next three make a new 32-bit handle, filled with 0, of the size of what the
 * source's region becomes, in whole pixels plus one. What *dst held is not freed.
 *
 * Depths: 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle.
 * Ownership: the caller frees *dst with QuibFree. */

/* Turns src by `angle` degrees, linear, without perspective; a negative cosine mirrors.
 * Another axis changes nothing. An angle whose whole part is a multiple of 90, 0
 * included, gains one degree.
 *
 * Modes: axis 1 the horizontal one, 2 the vertical one, 3 in the picture's plane.
 * Ends the process: a source that has not 32 bits, or whose region is one pixel wide or
 * high or lies outside it; about axes 1 to 3 an angle that is not finite, and about 1
 * and 2 one within 6e-6 degrees of an odd multiple of 90 whose whole part is no
 * multiple; a record that fails its check, and memory that runs out. */
QUIB_API QuibStatus QUIBRotate3D(double angle, IplImage* src, IplImage** dst, int32_t axis);

/* Takes pixel (x, y) of src to (c0 x + c1 y + c2, c3 x + c4 y + c5), the coefficients
 * two rows of three. What comes to lie at negative coordinates is lost. Of
 * `interpolate` the low byte counts.
 *
 * Modes: IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC, plus IPL_SMOOTH_EDGE.
 * Ends the process: a source that has not 32 bits, or whose region is one pixel wide or
 * high or lies outside it, coefficients with a determinant of 0 (a magnitude of 1e-7 or
 * less), another interpolation, a size for which no handle can be made, a record that
 * fails its check, and memory that runs out. */
QUIB_API QuibStatus QUIBWarpAffine(IplImage* src, IplImage** dst, const double (*coeffs)[3],
                                   int32_t interpolate);

/* Takes pixel (x, y) of src to (c0 x + c1 y + c2, c3 x + c4 y + c5) / (c6 x + c7 y +
 * c8), the coefficients three rows of three. With warpFlag 1 the coefficients take
 * pixels of *dst to places of src; the size is that of the other direction all the
 * same. Of `interpolate` the low byte counts.
 *
 * Modes: IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC, plus IPL_SMOOTH_EDGE;
 * warpFlag 0 or 1.
 * Ends the process: a source that has not 32 bits, or whose region lies outside it,
 * with warpFlag 0 a region and with 1 a result of one column or row, coefficients whose
 * quadrangle is not convex, another warpFlag or interpolation, a size for which no
 * handle can be made, a record that fails its check, and memory that runs out. */
QUIB_API QuibStatus QUIBWarpPerspective(IplImage* src, IplImage** dst, const double (*coeffs)[3],
                                        int32_t warpFlag, int32_t interpolate);

/* Warps src's region onto a quadrangle of *dst, the images of its corners (left, top),
 * (right, top), (right, bottom) and (left, bottom) as x and y; with warpFlag, the
 * quadrangle of src onto the region of *dst. An existing *dst is written, a null one
 * made first: of the size and depth of src. A quadrangle that is concave or nearly so,
 * and any where the engine's warp has ever faulted or the processor is no later one of
 * AMD's or Intel's (in Intel's family 6, of a model that is 7 or more modulo 16), is
 * drawn by scanlines: the whole of src onto the quadrangle, nearest, in words of 32
 * bits, whatever warpFlag and `interpolate` are. A quadrangle of one column or row
 * leaves the pixels alone.
 *
 * Depths: 1, 8, 24, 32; by scanlines 32.
 * Modes: IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC, plus IPL_SMOOTH_EDGE;
 * warpFlag false or true.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and for a *dst that could not be made or
 * has no pixels.
 * Ends the process: where the engine draws: another interpolation, one image on both
 * sides, images that differ in depth, origin, data order or channels, a region of one
 * column or row for the rectangle, a record that fails its check, and memory that runs
 * out; and memory that runs out for a new handle's pixels.
 * Ownership: the caller frees a new *dst with QuibFree. */
QUIB_API QuibStatus QUIBWarpPerspectiveQ(IplImage* src, IplImage** dst, const double (*quad)[2],
                                         int32_t interpolate, bool warpFlag);

#ifdef __cplusplus
/* The same as QUIBWarpPerspectiveQ by the engine alone. A null *dst gets a 32-bit
 * handle of the size of the quadrangle's box.
 *
 * Depths: 1, 8, 24, 32; into a new handle 32.
 * Modes: IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC, plus IPL_SMOOTH_EDGE;
 * warpFlag false or true.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and for a quadrangle that is concave or
 * nearly so.
 * Ends the process: another interpolation, one image on both sides, images that differ
 * in depth, origin, data order or channels, a region of one column or row for the
 * rectangle, a size for which no handle can be made, a record that fails its check, and
 * memory that runs out.
 * Ownership: the caller frees a new *dst with QuibFree. */
extern "C++" QUIB_API QuibStatus QUIBWarpPerspectiveQ_(IplImage* src, IplImage** dst,
                                                       const double (*const quad)[2],
                                                       int interpolate, bool warpFlag);
#endif

/* Stores in `quad` where the coefficients take the corners of src's region: (left,
 * top), (right, top), (right, bottom), (left, bottom), the last column and row
 * included. A corner on the transform's horizon gives infinities, or no numbers.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle.
 * Ends the process: a record that fails its check, and a region outside its image. */
QUIB_API QuibStatus QUIBGetPerspectiveQuad(const IplImage* src, const double (*coeffs)[3],
                                           double (*quad)[2]);

/* Stores in `coeffs` the three rows of coefficients that take the corners of src's
 * region to those of `quad`.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle.
 * Ends the process: a quadrangle that is not convex, a region of one column or row or
 * outside its image, and a record that fails its check.
 * Source: P. Heckbert, Fundamentals of Texture Mapping and Image Warping, 1989. */
QUIB_API QuibStatus QUIBPerspectiveTransform(const IplImage* src, double (*coeffs)[3],
                                             const double (*quad)[2]);

/* ---- Tone ---------------------------------------------------------------- */

/* Both write *dst, which is made first, 32 bits a pixel and as large as src, if it is
 * null, and may be src. The size of an existing one is not examined: it must be at
 * least as large, and writing ends where its pixels do.
 *
 * Depths: 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and a null dst, QUIB_FAILED for other
 * images than those of four channels of 8 bits and for a dst that cannot be made.
 * Ends the process: memory that runs out for a new handle's pixels.
 * Ownership: the caller frees a new *dst with QuibFree. */

/* Stretches contrast and shifts brightness, each clamped to -128 to 127. With v = i +
 * brightness, a byte i becomes ((v - contrast) * 255 + r) / D, at most 255, where D is
 * 255 - 2 * contrast and r is D / 2, or 1 if that is 0; it becomes 0 where v is below
 * contrast and 255 where v is above 255 - contrast. The colours that channel leaves out
 * are copied. Alpha bytes of an existing dst stay, those of a new one are undefined.
 * The pixels of both are taken as one run, without padding. Brightness and contrast
 * both 0: nothing happens at all, and nothing is made.
 *
 * Modes: channel 0 all three colours, 1 red, 2 green, any other value blue. */
QUIB_API QuibStatus QuibBrightnessAndContrast(IplImage* src, IplImage** dst, int32_t brightness,
                                              int32_t contrast, int32_t channel);

/* Turns the hue by degrees (-360 and up; 120 makes green of red) and takes a percentage
 * of the largest channel from the smallest: a quarter of a positive saturation, all of
 * a negative one, so that 400 gives full saturation and -100 gray. The largest channel
 * keeps its value, the middle one is laid out anew by the hue, in whole degrees. Grays
 * and alpha are copied. dst is walked with the widthStep of src. Hue and saturation
 * both 0: QuibCopy, and QUIB_OK whatever comes of it. A hue below -360 turns only what
 * it keeps in its sector of 60 degrees or less than 60 degrees below it. */
QUIB_API QuibStatus QuibHueAndSaturation(IplImage* src, IplImage** dst, int32_t hue,
                                         int32_t saturation);

/* ---- Gray ---------------------------------------------------------------- */

#ifdef __cplusplus
/* Converts nothing: 0 if both handles have one width and one height.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and for different sizes.
 * Ends the process: never. */
extern "C++" QUIB_API QuibStatus QuibColorConversion(IplImage* a, IplImage* b);
#endif

/* Both store a new 8-bit handle of src's size in *dst; what that held is not freed.
 *
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and a null dst.
 * Ownership: the caller frees *dst with QuibFree. */

/* Gray from the colours of a 24-bit or 32-bit handle: (18 B + 183 G + 54 R) / 256,
 * rounded down, so that white becomes 254.
 *
 * Depths: 24, 32.
 * Ends the process: any other handle, a record whose bottom row comes first or that
 * fails its check, and memory that runs out for the pixels. */
QUIB_API QuibStatus QuibColorToGray(IplImage* src, IplImage** dst);

/* oneScale for each 1 of a 1-bit handle and zeroScale for each 0, the row that is shown
 * at the top first.
 *
 * Depths: 1.
 * Ends the process: another handle, values that are not 0 to 255, a record that fails
 * its check, and memory that runs out for the pixels. */
QUIB_API QuibStatus QuibBitonalToGray(IplImage* src, IplImage** dst, int32_t zeroScale,
                                      int32_t oneScale);

/* ---- Drawing surfaces ------------------------------------------------------- */

/* Between a handle and a DirectDraw surface of the same size, which the caller owns and
 * must not hold locked: it is locked here for as long as it takes, and the description
 * that the lock gives is believed. Nothing outside lPitch x dwHeight bytes of the
 * surface and the handle's pixel block is touched, so nothing at all of a surface whose
 * lPitch is not positive.
 *
 * Ends the process: never. */

struct IDirectDrawSurface;
struct IDirectDrawSurface7;

/* Draws a handle in the surface's format.
 *
 * Colours: rows move as they stand where a pixel has as many bytes on the surface as
 * the handle has channels. Else 24-bit surfaces get bytes B, G, R of four-byte pixels,
 * 32-bit ones B, G, R, 255 of three-byte pixels, and 16-bit ones what the masks leave
 * of the upper bits of R, G and B; other surfaces are left as they are.
 *
 * Gray, for handles of one channel: on 24-bit and 32-bit surfaces each byte becomes B,
 * G and R, a fourth byte stays. On 16-bit surfaces it goes under the three masks, and
 * every row takes as many pixels as there are rows: a wide image is cut at the right,
 * and beside a tall one the bytes up to lPitch get grays of its next rows. Others stay.
 *
 * Depths: 8, 24, 32, onto 16, 24, 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and a null surface; the status of a
 * record's check; QUIB_SURFACE_BAD_WIDTH or QUIB_SURFACE_BAD_HEIGHT for a surface of
 * another size, one that does not lock and leaves the description alone included. A
 * size that differs leaves the surface locked. */
QUIB_API QuibStatus Quib2Surface(const IplImage* handle, struct IDirectDrawSurface* surface);

/* The same as Quib2Surface by the format that the surface tells before it is locked.
 * 16-bit surfaces are drawn as by QuibToSurf_16, 5-6-5 if the green mask is 0x07E0 and
 * 5-5-5 if not; on the others every handle counts as one of colours.
 *
 * Depths: 24, 32, onto 16, 24, 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and a null surface; the status of a
 * record's check; the failure of GetSurfaceDesc; QUIB_SURFACE_BAD_WIDTH or
 * QUIB_SURFACE_BAD_HEIGHT for a surface of another size, which stays unlocked;
 * QUIB_SURFACE_BAD_DEPTH for one of other than 16, 24 and 32 bits; QUIB_BAD_ARGUMENT
 * for a handle of other than 8, 16, 24 and 32 bits and a 16-bit surface. On 24 and 32
 * bits the sizes are compared again under the lock, and a surface that differs only
 * then stays locked; one that does not lock gives QUIB_SURFACE_BAD_WIDTH, on 16 bits 0
 * with nothing drawn. */
QUIB_API QuibStatus Quib2Surface7(IplImage* handle, struct IDirectDrawSurface7* surface);

/* Reads a surface of 24 or 32 bits into a handle of three or four channels. A fourth
 * byte becomes 255 in the handle. Where the sizes of a pixel agree, rows move in words
 * of four bytes, each of which gets 255 in its last byte: so do 24-bit pixels, and up
 * to three bytes at the end of a row (of the block, if rows are as long) do not move.
 *
 * Depths: 32 from 24 and 32, 24 from 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, a null surface and other surfaces and
 * handles; the status of a record's check; QUIB_SURFACE_BAD_WIDTH or
 * QUIB_SURFACE_BAD_HEIGHT for a surface of another size. Whatever is refused after the
 * lock leaves the surface locked. */
QUIB_API QuibStatus Surface2Quib(struct IDirectDrawSurface* surface, IplImage* handle);

/* Draws a handle of 24 or 32 bits in 16 bits a pixel: the upper 5, 6 and 5 bits of R, G
 * and B, or with is565 0 the upper 5 of each. No masks are read. Rows of odd width are
 * drawn but for the last pixel: that goes the other way, from the last four bytes of
 * the surface's row, packed, to the last two of the handle's. Rows of 24 bits do so
 * with the last pixel, or the last two of an even width, from three bytes each, and
 * with B and R exchanged. A 16-bit handle's rows are copied. An 8-bit handle is not
 * drawn: it takes the surface's bytes as gray, packed, up to the end of its pixel
 * block.
 *
 * Depths: 24, 32, onto 16.
 * Modes: is565 0 packs 5-5-5 bits, any other value 5-6-5.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, a null surface, a handle of another depth,
 * a record that fails its check and a surface of other than 16 bits;
 * QUIB_SURFACE_BAD_WIDTH or QUIB_SURFACE_BAD_HEIGHT for one of another size. No refusal
 * leaves the surface locked. */
QUIB_API QuibStatus QuibToSurf_16(IplImage* handle, struct IDirectDrawSurface* surface,
                                  int32_t is565);

/* ---- Fields of video frames ----------------------------------------------- */

/* Copies whole rows, padding included; row 0 is the first of the pixel block. */

/* Overwrites the rows of one field by those of the other; a last row without a partner
 * stays. Any other mode: 0, whatever the target is.
 *
 * Depths: all.
 * Modes: 0 overwrites each even row by the odd one below it, 1 each odd row by the even
 * one above it; 2 and 3 do the same to an IDirectDrawSurface, which is locked
 * meanwhile.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, for a null surface and for one that does
 * not lock.
 * Ends the process: never. */
QUIB_API QuibStatus QuibInterlace(void* target, uint32_t mode);

/* Writes the even rows of `even` and the odd rows of `odd` to *dst, which is made
 * first, of the size and depth of `even`, if it is null; it may be either. The
 * widthStep of `even` counts for all three, and what lies outside a block is left out.
 *
 * Depths: all.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle and a null dst; the status of a failed
 * QuibCreate0.
 * Ends the process: memory that runs out for a new handle's pixels.
 * Ownership: the caller frees a new *dst with QuibFree. */
QUIB_API QuibStatus QuibUnInterlace(IplImage* even, IplImage* odd, IplImage** dst);

/* ---- Pixel operations ----------------------------------------------------- */

/* Each stores in *outHandle a clone of its first handle in which the pixels of the
 * operation are written: as many as the smallest of all images, or their regions, and
 * masks holds, paired from each one's corner, where the masks have a 1, in all channels
 * but a declared alpha channel, or in the channel of interest alone; the others keep
 * the first source's values.
 *
 * Results are clamped to the depth's range: 0 to 255 in handles of the library's own
 * making, of which all four channels of a 32-bit one take part.
 *
 * Depths: 1, 8, 24, 32.
 * Fails: QUIB_BAD_ARGUMENT for unreadable handles and for nulls.
 * Ends the process: sources that differ in depth, number of channels or, above 1 bit,
 * data order, records that fail their check, and memory that runs out.
 * Ownership: the caller frees *outHandle with QuibFree. */

/* src + value. 1 bit: QuibOrS.
 *
 * Ends the process: records that fail their check or hold floats, and memory that runs
 * out. */
QUIB_API QuibStatus QuibAddS(const IplImage* src, IplImage** outHandle, int32_t value);

/* src * value; a negative value gives 0 at unsigned depths. 1 bit: QuibAndS.
 *
 * Ends the process: records that fail their check or hold floats, and memory that runs
 * out. */
QUIB_API QuibStatus QuibMultiplyS(const IplImage* src, IplImage** outHandle, int32_t value);

/* src * value / M, rounded down, with M the largest element, 255 or 65535, and value
 * clamped to 0 to M.
 *
 * Depths: 8, 24, 32; elements of 8 and 16 unsigned bits.
 * Ends the process: bits and other elements than those, a record whose one channel is
 * declared alpha, unless a region has channel 1 of interest, records that fail their
 * check, and memory that runs out. */
QUIB_API QuibStatus QuibMultiplySScale(const IplImage* src, IplImage** outHandle, int32_t value);

/* src * src. 1 bit: a copy.
 *
 * Ends the process: records that fail their check, and memory that runs out. */
QUIB_API QuibStatus QuibSquare(const IplImage* src, IplImage** outHandle);

/* The absolute value: at unsigned depths a copy. Nothing but the clone is made while
 * the engine's status is that of an earlier failure.
 *
 * Ends the process: records that fail their check, and memory that runs out. */
QUIB_API QuibStatus QuibAbs(const IplImage* src, IplImage** outHandle);

/* srcA + srcB. 1 bit: QuibOr. */
QUIB_API QuibStatus QuibAdd(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle);

/* srcA - srcB. 1 bit: srcA and not srcB. */
QUIB_API QuibStatus QuibSubtract(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle);

/* srcA * srcB. 1 bit: QuibAnd. */
QUIB_API QuibStatus QuibMultiply(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle);

/* srcA * srcB / M, rounded down, with M the largest element, 255 or 65535.
 *
 * Depths: 8, 24, 32; elements of 8 and 16 unsigned bits.
 * Ends the process: bits and other elements than those, sources that differ in depth or
 * number of channels, a record whose one channel is declared alpha, unless a region has
 * channel 1 of interest, records that fail their check, and memory that runs out. */
QUIB_API QuibStatus QuibMultiplyScale(const IplImage* srcA, const IplImage* srcB,
                                      IplImage** outHandle);

/* Elements shifted by nShift bits, to the left or to the right; what leaves an element
 * is lost. A shift by the element's bits or more gives 0, or, to the right, the sign at
 * signed depths.
 *
 * Ends the process: records that fail their check or hold floats, and memory that runs
 * out. */
QUIB_API QuibStatus QuibLShiftS(const IplImage* src, IplImage** outHandle, uint32_t nShift);
QUIB_API QuibStatus QuibRShiftS(const IplImage* src, IplImage** outHandle, uint32_t nShift);

/* Each bit of src turned round.
 *
 * Ends the process: records that fail their check or hold floats, and memory that runs
 * out. */
QUIB_API QuibStatus QuibNot(const IplImage* src, IplImage** outHandle);

/* Bitwise and, or and exclusive or of src and a value, of which as many low bits count
 * as an element has.
 *
 * Ends the process: records that fail their check or hold floats, and memory that runs
 * out. */
QUIB_API QuibStatus QuibAndS(const IplImage* src, IplImage** outHandle, int32_t value);
QUIB_API QuibStatus QuibOrS(const IplImage* src, IplImage** outHandle, int32_t value);
QUIB_API QuibStatus QuibXorS(const IplImage* src, IplImage** outHandle, int32_t value);

/* Bitwise and of two images.
 *
 * Fails: QUIB_BAD_ARGUMENT for an unreadable srcA and for nulls.
 * Ends the process: an unreadable srcB, sources that differ in depth, number of
 * channels or, above 1 bit, data order, records that fail their check or hold floats,
 * and memory that runs out. */
QUIB_API QuibStatus QuibAnd(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle);

/* Bitwise or, and exclusive or, of two images.
 *
 * Ends the process: sources that differ in depth, number of channels or, above 1 bit,
 * data order, records that fail their check or hold floats, and memory that runs out. */
QUIB_API QuibStatus QuibOr(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle);
QUIB_API QuibStatus QuibXor(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle);

/* ---- Convolution ---------------------------------------------------------- */

/* A kernel, to be looked at by QuibGetConvKernel only. */
typedef struct OwnConvKernel OwnConvKernel;

/* Stores in *outKernel a kernel of nCols x nRows taps, given row by row, of any size.
 * The tap in column i and row j goes with the pixel at (x + anchorX - i, y + anchorY -
 * j). Sums are shifted right by nShiftR, which is not checked: below 0 is 0.
 *
 * Fails: QUIB_BAD_ARGUMENT for a null outKernel or values.
 * Ends the process: a size below 1, an anchor outside the kernel, and memory that runs
 * out.
 * Ownership: the caller frees the kernel with QuibDeleteConvKernel; the taps are
 * copied. */
QUIB_API QuibStatus QuibCreateConvKernel(OwnConvKernel** outKernel, int32_t nCols, int32_t nRows,
                                         int32_t anchorX, int32_t anchorY, const int32_t* values,
                                         int32_t nShiftR);

/* The same as QuibCreateConvKernel of signed bytes.
 *
 * Fails: QUIB_BAD_ARGUMENT for a null outKernel or values.
 * Ends the process: a size below 1, an anchor outside the kernel, and memory that runs
 * out.
 * Ownership: the caller frees the kernel with QuibDeleteConvKernel; the taps are
 * copied. */
QUIB_API QuibStatus QuibCreateConvKernelChar(OwnConvKernel** outKernel, int32_t nCols,
                                             int32_t nRows, int32_t anchorX, int32_t anchorY,
                                             const int8_t* values, int32_t nShiftR);

/* Stores what the kernel was made of. *values is the address of an array with room for
 * nCols * nRows taps, which is filled row by row. Nothing is stored while the engine's
 * status is that of an earlier failure.
 *
 * Fails: never with a status.
 * Ends the process: a null argument and a bad kernel.
 * Ownership: the array is the caller's. */
QUIB_API QuibStatus QuibGetConvKernel(const OwnConvKernel* kernel, int32_t* nCols, int32_t* nRows,
                                      int32_t* anchorX, int32_t* anchorY, int32_t** values,
                                      int32_t* nShiftR);

/* The same as QuibGetConvKernel with the low byte of each tap.
 *
 * Fails: never with a status.
 * Ends the process: a null argument and a bad kernel.
 * Ownership: the array is the caller's. */
QUIB_API QuibStatus QuibGetConvKernelChar(const OwnConvKernel* kernel, int32_t* nCols,
                                          int32_t* nRows, int32_t* anchorX, int32_t* anchorY,
                                          int8_t** values, int32_t* nShiftR);

/* Frees a kernel.
 *
 * Fails: QUIB_BAD_ARGUMENT for null.
 * Ends the process: a kernel without taps.
 * Ownership: the kernel is gone afterwards. */
QUIB_API QuibStatus QuibDeleteConvKernel(OwnConvKernel* kernel);

/* Stores in *outHandle a new handle of src's size and depth with the convolution of src
 * by 1 to 10 kernels. Each kernel's sum of taps times elements is shifted right,
 * rounding down; combineMethod makes one value of them. With one kernel any other value
 * is 0. Values are clamped to the depth's range; on bits, above 0 is a set bit. All
 * four channels of a 32-bit handle take part.
 *
 * Pixels outside src are made by its border modes (BorderMode, BorderConst). With a
 * region or a mask, the pixels of the region are written from the result's top left
 * corner on, where the mask has a 1; the others are 0, at 32 bits 0, 0, 0, 255.
 *
 * Taps whose sums may pass 32 bits are added up as floats in their stored order, the
 * last one given first, and multiplied by about 2 to the power -nShiftR, by 0 from 24
 * on; the result is rounded to nearest.
 *
 * Depths: 1, 8, 24, 32.
 * Modes: combineMethod 0 the sum, 1 the sum of squares, 2 its square root, 3 the
 * largest, 4 the smallest.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, a null outHandle and null kernels;
 * QUIB_FAILED for a size below 1 and for a depth that has no handle.
 * Ends the process: a record that is bad in another way or has plane order, another
 * number of kernels, a null or bad kernel, another method for several kernels, a region
 * that starts outside src, a declared alpha channel, a channel of interest, and memory
 * that runs out.
 * Ownership: the caller frees *outHandle with QuibFree, and keeps the kernels. */
QUIB_API QuibStatus QuibConvolve2D(const IplImage* src, IplImage** outHandle,
                                   OwnConvKernel* const* kernels, int32_t nKernels,
                                   int32_t combineMethod);

/* Convolves by xKernel, a row of two taps or more, and then by yKernel, a column: two
 * passes, each shifted and clamped by itself, as QuibConvolve2D does. Rows above and
 * below src are made by its border modes and go through the first pass too; of a border
 * constant the low bits count.
 *
 * Depths: 1, 8, 24, 32.
 * Fails: QUIB_BAD_ARGUMENT for a bad handle, a null outHandle and a null kernel;
 * QUIB_FAILED for a size below 1 and for a depth that has no handle.
 * Ends the process: kernels of another shape, a record that is bad in another way, has
 * plane order or has its bottom row first, a channel of interest among several, a
 * declared alpha channel, and memory that runs out.
 * Ownership: the caller frees *outHandle with QuibFree, and keeps the kernels. */
QUIB_API QuibStatus QuibConvolveSep2D(const IplImage* src, IplImage** outHandle,
                                      const OwnConvKernel* xKernel, const OwnConvKernel* yKernel);

/* ---- Filters ---------------------------------------------------------------- */

/* Each stores in *outHandle a new handle of the size and depth of src whose pixels are
 * made from those of src under a window of nCols x nRows pixels; the pixel itself
 * stands in it at (anchorX, anchorY), counted from 0. A region of src is filtered into
 * the top left corner of the result, and windows at its edges read what lies around it.
 * Outside the image they read what BorderMode says for each side; as long as it is 0,
 * BorderConst, which is 0 in handles of the library's own making. Pixels that a region
 * or a mask leaves out are those of QuibCreate with the colour 0xff000000, and 0 at 24
 * bits.
 *
 * All channels take part, each by itself. With a channel of interest among several
 * there is no result that agrees with the record, and the process ends.
 *
 * Depths: 1, 8, 24, 32.
 * Fails: QUIB_BAD_ARGUMENT for an unreadable handle and for a null outHandle,
 * QUIB_FAILED if the result cannot be created.
 * Ends the process: an anchor outside the window, floats, a channel of interest among
 * several, a declared alpha channel, plane order above 1 bit, a record that fails its
 * check, and memory that runs out for the result.
 * Ownership: the caller frees *outHandle with QuibFree. */

/* The largest and the smallest element of the window. The time does not depend on its
 * height, and hardly on its width. 1 bit: whether any, and whether all bits are set.
 *
 * Source: M. van Herk, A Fast Algorithm for Local Minimum and Maximum Filters, 1992; J.
 * Gil and M. Werman, Computing 2-D Min, Median, and Max Filters, 1993. */
QUIB_API QuibStatus QuibMaxFilter(const IplImage* src, IplImage** outHandle, int32_t nCols,
                                  int32_t nRows, int32_t anchorX, int32_t anchorY);
QUIB_API QuibStatus QuibMinFilter(const IplImage* src, IplImage** outHandle, int32_t nCols,
                                  int32_t nRows, int32_t anchorX, int32_t anchorY);

/* The element at index nCols * nRows / 2 of the window's, in ascending order: the
 * median, or the upper one of two; of bits the lower one, which is 1 where more than
 * half are set. 3 x 3 and 5 x 5 go through sorting networks; the time of larger windows
 * of bytes hardly depends on their size.
 *
 * Source: S. Perreault and P. Hebert, Median Filtering in Constant Time, 2007. */
QUIB_API QuibStatus QuibMedianFilter(const IplImage* src, IplImage** outHandle, int32_t nCols,
                                     int32_t nRows, int32_t anchorX, int32_t anchorY);

/* The pixel of the window whose colours differ least from those of all its pixels, by
 * the sum of absolute differences over the three of them; the first such pixel, row by
 * row. A declared alpha channel keeps the new handle's 255.
 *
 * Depths: 24; records of four channels that declare their alpha channel.
 * Ends the process: an anchor outside the window, another number of channels, four
 * without a declared alpha channel, three with one, bits and elements of 32 signed
 * bits, a channel of interest, a record that fails its check, and memory that runs out
 * for the result.
 * Source: J. Astola, P. Haavisto and Y. Neuvo, Vector Median Filters, 1990. */
QUIB_API QuibStatus QuibColorMedianFilter(const IplImage* src, IplImage** outHandle, int32_t nCols,
                                          int32_t nRows, int32_t anchorX, int32_t anchorY);

/* The mean of the window's elements, rounded to nearest, halves up; 1 bit: whether at
 * least half of them are set. The time does not depend on the window: sums run on from
 * pixel to pixel and from row to row. Stores a clone of src, whose pixels stay where a
 * region, a mask, a channel of interest or an alpha channel leaves them out; a region
 * is blurred where it lies.
 *
 * Fails: QUIB_BAD_ARGUMENT for an unreadable handle and for a null outHandle. 0 for a
 * record that fails its check; *outHandle, which must then be null, stays so.
 * Ends the process: an anchor outside the window, and memory that runs out. */
QUIB_API QuibStatus QuibBlur(const IplImage* src, IplImage** outHandle, int32_t nCols,
                             int32_t nRows, int32_t anchorX, int32_t anchorY);

/* Writes src, blurred by a window of xMaskSize x yMaskSize pixels with the pixel at
 * half its size, into dst: the common part of the images' regions, where their masks
 * let it. The sizes are lowered to half of the width and of the height of src; if one
 * is then below 1, the result is that of QuibCopy, which takes no heed of the size of
 * dst.
 *
 * Modes: interpolate 0, 1 or 2, which makes no difference.
 * Fails: QUIB_BAD_ARGUMENT for an unreadable handle; the status of src's check; where
 * it copies, that of QuibCopy.
 * Ends the process: where it blurs: another interpolate, one image on both sides,
 * images that differ in depth, data order, alpha or channels of interest, elements with
 * a sign, a region outside its image, a dst that fails its check, and memory that runs
 * out.
 * Ownership: dst is the caller's. */
QUIB_API QuibStatus QuibDecimateBlur(const IplImage* src, IplImage* dst, int32_t interpolate,
                                     int32_t xMaskSize, int32_t yMaskSize);

/* One of eleven filters with a window of their own, the pixel in its middle:
 *
 *     0, 1   Prewitt's horizontal and vertical gradient, 3 x 3      absolute value
 *     2, 3   Sobel's horizontal and vertical gradient, 3 x 3        absolute value
 *     4, 5   Laplacian of 3 x 3 (8 and -1) and of 5 x 5 (24 and -1)  absolute value
 *     6, 7   Gaussian of 3 x 3 and of 5 x 5 by binomial taps        halves up
 *     8, 9   the pixel less the mean of 3 x 3 and of 5 x 5, plus 128
 *     10     sharpening: 9 times the pixel less those around it
 *
 * A horizontal gradient is the difference of what lies right and left. Results are held
 * to 0..255. 1 bit: 0 to 5 give 1 where the value is not 0, 6 and 7 where it is a half
 * or more, 8 and 9 where the pixel is set and the mean below a half; 10 copies.
 *
 * Modes: filter 0 to 10.
 * Fails: QUIB_BAD_ARGUMENT for an unreadable handle and for a null outHandle;
 * QUIB_FAILED if the result cannot be created, and where the engine's status is that of
 * an earlier failure, the handle then holding the fill.
 * Ends the process: another filter, floats, a channel of interest among several, a
 * declared alpha channel, plane order, a record that fails its check, and memory that
 * runs out for the result. */
QUIB_API QuibStatus QuibFixedFilter(const IplImage* src, IplImage** outHandle, int32_t filter);

#ifdef __cplusplus
}
#endif

#endif
