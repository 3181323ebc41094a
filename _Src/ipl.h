// The engine: image records, checks, reports and the general operations on
// images. Internal to the library; nothing here is exported.
#pragma once

#include "quibtool/iplimage.h"

#include <cstddef>

struct tagBITMAPINFOHEADER;
struct OwnConvKernel;

// --- Error state and reporter -----------------------------------------------

// A handler gets what iplError got and returns what iplError returns.
using IplErrorHandler = int32_t (*)(int32_t status, const char* functionName, const char* message,
                                    const char* fileName, int32_t row);

struct IplErrorState {
    int32_t status; // last recorded; only iplSetStatus writes it
    int32_t mode;   // 0: the default handler ends the process
    IplErrorHandler handler;
};
extern IplErrorState iplErrorState;

// What the thread that ends the process does before the functions that the program
// registered for its end run; null: nothing.
using IplExitAct = void (*)();
extern IplExitAct iplBeforeExit;

enum IplStatus : int32_t {
    IPL_StsOk = 0,
    IPL_StsBackTrace = -1,
    IPL_StsError = -2,
    IPL_StsInternal = -3,
    IPL_StsNoMem = -4,
    IPL_StsBadArg = -5,
    IPL_StsAutoTrace = -8,
    IPL_HeaderIsNull = -9,
    IPL_BadImageSize = -10,
    IPL_BadOffset = -11,
    IPL_BadDataPtr = -12,
    IPL_BadStep = -13,
    IPL_BadModelOrChSeq = -14,
    IPL_BadNumChannels = -15,
    IPL_BadNumChannel1U = -16,
    IPL_BadDepth = -17,
    IPL_BadAlphaChannel = -18,
    IPL_BadOrder = -19,
    IPL_BadOrigin = -20,
    IPL_BadAlign = -21,
    IPL_BadCallBack = -22,
    IPL_BadTileSize = -23,
    IPL_BadCOI = -24,
    IPL_BadROISize = -25,
    IPL_MaskIsTiled = -26,
    IPL_MaskBadDepth = -117,
};

// Reports a failure: records `status` (except -1 and -8, the back-trace
// reports) and calls the handler, which ends the process with exit(1) while
// the mode is 0. A status of 0 only clears the record. Any code behind a
// report is written as if the call came back.
int32_t iplError(int32_t status, const char* functionName, const char* message,
                 const char* fileName, int32_t row);
int32_t iplGetStatus();
void iplSetStatus(int32_t newStatus);
int32_t iplGetErrorMode();
const char* iplStatusText(int32_t status);
int32_t iplDefaultErrorHandler(int32_t status, const char* functionName, const char* message,
                               const char* fileName, int32_t row);

// Checks a whole record: 0, or the negative status of the first failing test,
// which is also recorded. Never reports.
int32_t iplCheckImage(const IplImage* image);

// --- Allocation (iplalloc) ---------------------------------------------------

// Blocks aligned to 32 bytes, uncleared; null for a count below 1 or no
// memory. Counts are in bytes, 16-bit units and 32-bit units. Freed by
// iplAlignedFree only, which ignores null.
void* iplAlignedMalloc(int32_t size);
void* iplAlignedMalloc16(int32_t count);
void* iplAlignedMalloc32(int32_t count);
void iplAlignedFree(void* block);

// A record without pixels, or null. It owns roi, maskROI and tileInfo.
IplImage* iplCreateImageHeader(int32_t nChannels, int32_t alphaChannel, uint32_t depth,
                               const char* colorModel, const char* channelSeq, int32_t dataOrder,
                               int32_t origin, int32_t align, int32_t width, int32_t height,
                               IplROI* roi, IplImage* maskROI, void* imageId,
                               IplTileInfo* tileInfo);
// Gives a header pixels, filled with fillValue if doFill is nonzero. The
// second form is for float images only, the first for all others.
void iplAllocateImage(IplImage* image, int32_t doFill, int32_t fillValue);
void iplAllocateImageFP(IplImage* image, int32_t doFill, float fillValue);
// Frees the parts chosen by the IPL_IMAGE_ bits; a null image is ignored.
void iplDeallocate(IplImage* image, int32_t flags);
void iplDeallocateHeader(IplImage* image);
void iplDeallocateImage(IplImage* image);

// A region record, or null. coi is the channel of interest from 1 on, or 0 for all;
// offsets and size are in pixels.
IplROI* iplCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height);
void iplSetROI(IplROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width,
               int32_t height);
// A record of tiles of width x height pixels, or null. callBack brings a tile of
// the image in or gives it back; id is the program's own.
IplTileInfo* iplCreateTileInfo(IplTileCallBack callBack, void* id, int32_t width, int32_t height);
void iplSetTileInfo(IplTileInfo* tileInfo, IplTileCallBack callBack, void* id, int32_t width,
                    int32_t height);
// Sets mode and constant, clamped to the depth's range, on the sides whose bits
// are set in borderMask.
void iplSetBorderMode(IplImage* image, int32_t mode, int32_t borderMask, int32_t constant);

// --- Fill, copy and clone (iplsce, iplClone) ---------------------------------

// Stores fillValue, clamped to the depth's range, in the region of an image of
// any integer depth, where its mask lets it.
void iplSet(IplImage* image, int32_t fillValue);
// Copies the elements of the common region, where the masks let it.
void iplCopy(const IplImage* srcImage, IplImage* dstImage);
// A new image with the source's header, region and pixels, without its mask
// and tiles.
IplImage* iplCloneImage(const IplImage* image);
// The same for a result whose pixels will all be written: they are undefined, and
// the padding of the rows is the source's. A record whose sizes do not follow from
// its header is cloned whole.
IplImage* ownCloneForResult(const IplImage* image);

// --- Pixel operations -----------------------------------------------------------
//
// Each takes the elements of its sources' regions, from the corners on, to those
// of the destination's: as many as the smallest region holds, where all masks
// let it, in all channels but alpha or in the channels of interest. Images must
// agree in depth, number of channels and, above depth 1, data order. The
// destination may be a source. Results are saturated at integer depths.

// At depth 1 logic takes the place of arithmetic. The scalar forms refuse
// floats.
void iplAddS(const IplImage* srcImage, IplImage* dstImage, int32_t value);
// srcImage - value, or value - srcImage with `reverse` not 0.
void iplSubtractS(const IplImage* srcImage, IplImage* dstImage, int32_t value, int32_t reverse);
void iplMultiplyS(const IplImage* srcImage, IplImage* dstImage, int32_t value);
void iplSquare(const IplImage* srcImage, IplImage* dstImage);
// A copy, by the rules of iplCopy, to unsigned depths. Other images need not
// agree in the number of channels if they do but for alpha.
void iplAbs(const IplImage* srcImage, IplImage* dstImage);
void iplAdd(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage);
void iplSubtract(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage);
void iplMultiply(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage);

// Logic and shifts refuse floats. Only as many low bits of a value count as an
// element has. Right shifts of signed elements are arithmetic.
void iplAndS(const IplImage* srcImage, IplImage* dstImage, int32_t value);
void iplOrS(const IplImage* srcImage, IplImage* dstImage, int32_t value);
void iplXorS(const IplImage* srcImage, IplImage* dstImage, int32_t value);
void iplNot(const IplImage* srcImage, IplImage* dstImage);
void iplAnd(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage);
void iplOr(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage);
void iplXor(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage);
void iplLShiftS(const IplImage* srcImage, IplImage* dstImage, uint32_t nShift);
void iplRShiftS(const IplImage* srcImage, IplImage* dstImage, uint32_t nShift);

// --- Alpha (iplalpha) ------------------------------------------------------------

// Products for depths 8 and 16 unsigned: a * b / M rounded down, where M is the
// depth's largest element; a value is clamped to 0 to M. The alpha channel is
// left out unless it is the channel of interest.
void iplMultiplySScale(const IplImage* srcImage, IplImage* dstImage, int32_t value);
void iplMultiplyScale(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage);

// --- Alpha composites (iplalpha) ------------------------------------------------

// Lays A over, in, out, atop, xor or plus (compositeType 0 to 5) B, in unsigned
// images of 8 or 16 bits. Elements are weighted by their alpha unless
// premulAlpha is 1; divideMode 1 divides the result by its alpha, in float. The
// first takes constant alphas, or the image's own where a constant is negative
// or above the depth's largest element M, and writes colours only. The second
// takes the alphas of alphaImageA, or else of srcImageA, and of alphaImageB, or
// else, if alphaImageA is null too, of srcImageB; without one, an element's alpha
// is M less that of A. An alpha image that names no alpha channel has it in its
// first one. The result's alphas go into alphaImageDst, or else into the
// destination's own channel, if it has one.
void iplAlphaCompositeC(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage,
                        int32_t compositeType, int32_t aA, int32_t aB, int32_t premulAlpha,
                        int32_t divideMode);
void iplAlphaComposite(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage,
                       int32_t compositeType, const IplImage* alphaImageA,
                       const IplImage* alphaImageB, IplImage* alphaImageDst, int32_t premulAlpha,
                       int32_t divideMode);

// --- Device-independent bitmaps (iplDIB) ---------------------------------------

// Converts a packed bitmap into an image, whose pixels are allocated if it has
// none. The block is taken to hold what its header speaks of; where a
// compressed stream ends is the caller's duty.
void iplConvertFromDIB(const tagBITMAPINFOHEADER* dib, IplImage* image);
// Converts an image with a pixel block into a packed bitmap with a prepared
// header and room for its rows. Gives biCompression, or for a compressed bitmap
// 1; after a report, the status, or 0 if a compression had no memory. dither is one
// of the five of iplReduceBits; other than IPL_DITHER_NONE, it first reduces the
// channels but alpha to 2, 16 or 32 levels at biBitCount 1, 4 or 16, and to 256 at 8,
// 24 and 32; 2 levels are for one channel only. paletteConversion 0 keeps the colour
// table, 1 writes a standard one, 2 one made for the image as it is given, which sets
// biClrUsed and wants room for 2 to the power biBitCount colours.
int32_t iplConvertToDIB(const IplImage* image, tagBITMAPINFOHEADER* dib, int32_t dither,
                        int32_t paletteConversion);

// The same for a block of `bytes` bytes, whatever its header claims: what lies
// past them reads 0 and is never written.
void ownConvertFromDIB(const void* block, size_t bytes, IplImage* image);
int32_t ownConvertToDIB(const IplImage* image, void* block, size_t bytes, int32_t dither,
                        int32_t paletteConversion);

// --- Size (iplresiz, iplZoom, ipldecim) ----------------------------------------

// Scale by xDst/xSrc and yDst/ySrc, of another image than dst. iplZoom takes no
// shrinking axis, iplDecimate no growing one, iplResize any mixture, but with
// IPL_INTER_SUPER, which iplZoom refuses, no growing one. Modes fall back: zooms
// to IPL_INTER_LINEAR below 4 and to IPL_INTER_NN below 2 pixels on an axis;
// reductions to IPL_INTER_NN below 4, where less than one pixel would be left (the
// result has one then), and, except IPL_INTER_SUPER, where both axes shrink by
// whole numbers; bits always, but for the averages of IPL_INTER_SUPER. Zooms of an image of nothing
// but alpha do nothing.
void iplZoom(IplImage* src, IplImage* dst, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
             int32_t interpolate);
void iplDecimate(IplImage* src, IplImage* dst, int32_t xDst, int32_t xSrc, int32_t yDst,
                 int32_t ySrc, int32_t interpolate);
void iplResize(IplImage* src, IplImage* dst, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
               int32_t interpolate);

// --- Geometry of warps (iplwarp) ------------------------------------------------
//
// Coordinates are of whole-image pixels, and both corners of a rectangle belong
// to it. Coefficients are in row order: affine x' = c0 x + c1 y + c2,
// y' = c3 x + c4 y + c5; perspective the same over c6 x + c7 y + c8. A quadrangle
// holds the images of the corners (x1, y1), (x2, y1), (x2, y2), (x1, y2), as x and
// y; a bound the least x and y and the greatest. The rectangle is the image's
// region, as much of it as lies inside the image.

// The quadrangle and the bound under affine coefficients.
void iplGetAffineQuad(const IplImage* image, const double coeffs[2][3], double quad[4][2]);
void iplGetAffineBound(const IplImage* image, const double coeffs[2][3], double bound[2][2]);
// A corner on the transform's horizon gives infinities, or no numbers.
void iplGetPerspectiveQuad(const IplImage* image, const double coeffs[3][3], double quad[4][2]);
void iplGetPerspectiveBound(const IplImage* image, const double coeffs[3][3], double bound[2][2]);
// The coefficients that take the region onto a convex quadrangle, by P. Heckbert,
// "Fundamentals of Texture Mapping and Image Warping", 1989. Refuses other
// quadrangles, and regions of one column or row.
void iplGetPerspectiveTransform(const IplImage* image, double coeffs[3][3],
                                const double quad[4][2]);
// Adds to the shifts what makes a turn by `angle` degrees, as iplRotate takes
// them, go about the centre. Multiples of 90 are exact.
void iplGetRotateShift(double xCenter, double yCenter, double angle, double* xShift,
                       double* yShift);

// --- Warps (iplwarp) --------------------------------------------------------------
//
// Each destination pixel inside the target shape is sampled from the source;
// others keep their values. `interpolate` is IPL_INTER_NN, IPL_INTER_LINEAR or
// IPL_INTER_CUBIC, and may have the flag IPL_SMOOTH_EDGE, which softens the edges
// of a shape that a rectangle became. Bits, and sources of one column or row, are
// sampled as IPL_INTER_NN, and sources below 4 by 4 pixels as IPL_INTER_LINEAR at
// most. Images agree in depth, which is unsigned, in origin, in the number of channels
// that take part and, above depth 1 and unless both have one channel, in the data
// order; masks play no part. Not in place.

// The coefficients take source positions to destination positions; their
// determinant's magnitude must be above 1e-7.
void iplWarpAffine(IplImage* src, IplImage* dst, const double coeffs[2][3], int32_t interpolate);
// With warpFlag 0 the source's region lands on a quadrangle of the destination:
// the one given, or the one that the coefficients make of the source's region.
// With 1 a quadrangle of the source lands on the destination's region: the one
// given, or that which the coefficients make of the destination's region.
// Quadrangles must be convex.
void iplWarpPerspective(IplImage* src, IplImage* dst, const double coeffs[3][3], int32_t warpFlag,
                        int32_t interpolate);
void iplWarpPerspectiveQ(IplImage* src, IplImage* dst, const double quad[4][2], int32_t warpFlag,
                         int32_t interpolate);
// Turns by `angle` degrees, counter-clockwise as the image is seen when its first
// row is the top one, then shifts. By 90, 180 and 270 degrees and whole shifts
// pixels are moved as they are, whatever `interpolate` is.
void iplRotate(IplImage* src, IplImage* dst, double angle, double xShift, double yShift,
               int32_t interpolate);

// --- Mirror (iplmirr) ------------------------------------------------------------

// Writes the pixels of the source's region to the destination's, from its corner
// on, with the rows reversed (flipAxis 0), the columns (1) or both (-1): as many as
// the smallest of both regions and of the masks' regions holds. Alpha stays as it is
// unless it is the channel of interest. A mask of the source turns round with its
// pixels, one of the destination does not; where both are, both must have a 1. The
// images may be one, if it has no mask; they need not agree in data order.
void iplMirror(IplImage* srcImage, IplImage* dstImage, int32_t flipAxis);

// --- Gray (iplcolor, iplbitnl) -----------------------------------------------------

// Writes the grays of src's colours, as many pixels as both hold, whatever their
// regions: 18 blue + 183 green + 54 red over 256 of unsigned 8-bit and 16-bit
// channels, which leaves white below the top, at 254 or 65279, and 37, 366 and 109
// over 512 of signed 32-bit ones. The source's model is RGB in the sequence RGB or
// BGR, more channels being left out; dst has one channel, or planes of which the first
// is written, of 16, 8 or 1 unsigned bits. 8-bit sums go to 16 bits as they are, and a
// bit is 1 above the middle of the range. Both must agree in their origin.
void iplColorToGray(const IplImage* src, IplImage* dst);

// Stores OneScale for each 1 and ZeroScale for each 0 of a 1-bit image, in all
// channels of dst but alpha, whatever the regions. Both must be of one size; the
// values must fit dst's depth, which is neither float nor 1 bit. Rows of images of
// different origins change places, so that the picture keeps its top.
void iplBitonalToGray(const IplImage* srcImage, IplImage* dstImage, int32_t ZeroScale,
                      int32_t OneScale);

// --- Fewer levels (iplredb) --------------------------------------------------------

// Reduces src to `levels` levels, evenly spread over the range of its depth, and
// writes them spread over the range of dst's, which has no more bits. ditherType
// chooses a pixel's level: IPL_DITHER_FS, IPL_DITHER_JJH and IPL_DITHER_STUCKEY take
// the nearest and diffuse its error over the neighbours to the right and below (R. W.
// Floyd and L. Steinberg, "An adaptive algorithm for spatial greyscale", 1976; J. F.
// Jarvis, C. N. Judice and W. H. Ninke, "A survey of techniques for the display of
// continuous tone pictures on bilevel displays", 1976; P. Stucki, "MECCA - a
// multiple-error correcting computation algorithm for bi-level image hardcopy
// reproduction", 1981); IPL_DITHER_BAYER compares with a matrix of 8 x 8 thresholds
// (B. E. Bayer, "An optimum method for two-level rendition of continuous-tone
// pictures", 1973), from the corner of the region on. `noise`, 0 to 100, is the
// per cent of a level's height by which the choice is shifted up or down at random,
// with the same numbers in each call. IPL_DITHER_NONE keeps the high bits of src's
// elements, whatever the other two arguments are.
// Depths are unsigned or IPL_DEPTH_32S, that of src not 1 bit; the range of
// IPL_DEPTH_32S is from 0 on, and that of floats, taken for 32 unsigned bits, up to
// 2^32 - 1. levels is at most 2 to the power of dst's bits (31 for IPL_DEPTH_32S), plus
// 1. Both agree in data order and alpha channel, and dst has no more channels than src,
// and one only if src has.
// As many pixels as the regions and masks of both have in common, paired from their
// corners, in the channels but alpha or those of interest. Not in place. Where the
// engine's status is that of an earlier failure, nothing is done.
void iplReduceBits(const IplImage* srcImage, IplImage* dstImage, int32_t noise, int32_t ditherType,
                   int32_t levels);

// --- Convolution (iplcnv2d, iplCSep2) --------------------------------------------

// A kernel of nCols x nRows taps, row by row, the anchor inside; null after a
// report. nShiftR, the right shift of a sum, may be anything.
OwnConvKernel* iplCreateConvKernel(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                   const int32_t* values, int32_t nShiftR);
OwnConvKernel* iplCreateConvKernelChar(int32_t nCols, int32_t nRows, int32_t anchorX,
                                       int32_t anchorY, const int8_t* values, int32_t nShiftR);
// Gives what the kernel was made of. *values holds the address of an array for
// nCols * nRows taps, which is filled, by the second with the taps' low bytes.
void iplGetConvKernel(const OwnConvKernel* kernel, int32_t* nCols, int32_t* nRows, int32_t* anchorX,
                      int32_t* anchorY, int32_t** values, int32_t* nShiftR);
void iplGetConvKernelChar(const OwnConvKernel* kernel, int32_t* nCols, int32_t* nRows,
                          int32_t* anchorX, int32_t* anchorY, int8_t** values, int32_t* nShiftR);
void iplDeleteConvKernel(OwnConvKernel* kernel);
// The sums of taps times the elements under 1 to 10 kernels, each shifted right,
// combined: their sum (combineMethod 0), the sum of their squares (1) or its square
// root (2), the largest (3) or the smallest (4); with one kernel another value is 0.
// Pixels outside the source are made by its border modes, constants clamped to the
// depth. As many pixels as the images' regions and masks have in common, paired from
// their corners, in all channels but alpha or in the channels of interest, which
// both must have or neither; saturated to the depth, which is not float. Sums that
// need more than 32 bits, and all at 32 bits, are float. May work in place.
void iplConvolve2D(const IplImage* srcImage, IplImage* dstImage, OwnConvKernel* const* kernel,
                   int32_t nKernels, int32_t combineMethod);
// Convolution by a kernel of one row of two taps or more, and then by one of one
// column; either may be null. Each pass is shifted and saturated by itself, as
// iplConvolve2D does it; the first takes in the rows above and below that the second
// needs. Of border constants the low bits count. The images agree in depth, which is
// not float, in order, origin, channels and alpha. Not in place. Clears an earlier
// failure's status.
void iplConvolveSep2D(const IplImage* srcImage, IplImage* dstImage, const OwnConvKernel* xKernel,
                      const OwnConvKernel* yKernel);

// --- Window filters (iplnlf, iplblur, ipldext) ------------------------------------
//
// Each makes a pixel from those under a window of nCols x nRows pixels, in which it
// stands at (anchorX, anchorY). Regions and masks pair up from their corners; windows
// read what lies around a region, and around the image what its border modes make.
// The destination is another image, but for iplBlur.

// The largest or smallest element, or the one at index nCols * nRows / 2 in ascending
// order (of bits, 1 where more than half are), in each channel but alpha or in the
// channels of interest, at integer depths. Where the engine's status is that of an
// earlier failure, nothing is done.
void iplMaxFilter(const IplImage* srcImage, IplImage* dstImage, int32_t nCols, int32_t nRows,
                  int32_t anchorX, int32_t anchorY);
void iplMinFilter(const IplImage* srcImage, IplImage* dstImage, int32_t nCols, int32_t nRows,
                  int32_t anchorX, int32_t anchorY);
void iplMedianFilter(const IplImage* srcImage, IplImage* dstImage, int32_t nCols, int32_t nRows,
                     int32_t anchorX, int32_t anchorY);
// The pixel, of three colours with or without alpha, whose colours have the least sum
// of absolute differences from those of all others; the first of equals, row by row.
// Alpha stays. At depths of 8 and 16 bits and of floats.
void iplColorMedianFilter(const IplImage* srcImage, IplImage* dstImage, int32_t nCols,
                          int32_t nRows, int32_t anchorX, int32_t anchorY);
// One of the eleven filters that QuibFixedFilter tells, in a window of 3 x 3 or 5 x 5
// around the pixel, at all depths. Integers are saturated to their depth; at signed
// depths and floats the high-pass filters add nothing to their differences. Floats are
// summed in double, tap by tap and row by row, and a mean is the sum times the
// reciprocal. Of bits, filters 0 to 5 give 1 where the value is not 0, 6 and 7 where
// it is a half or more, 8 and 9 where the pixel is set and the mean below a half; 10
// is iplCopy. Gives the engine's status, an earlier failure's too, which ends the call
// before the filter's number is tested.
int32_t iplFixedFilter(const IplImage* srcImage, IplImage* dstImage, int32_t filter);

// The mean of the elements under a window of nCols x nRows pixels, in which the pixel
// stands at (anchorX, anchorY), at all depths, in each channel but alpha or in the
// channels of interest. Integers are rounded to nearest, halves up; a bit is 1 where at
// least half of them are; floats are summed in double, and the sum is multiplied by the
// reciprocal of their number. Regions and masks pair up from their corners; windows read
// what lies around a region, and around the image what its border modes make. May work
// in place. Images that are none, or not of one depth, are left alone.
void iplBlur(const IplImage* srcImage, IplImage* dstImage, int32_t nCols, int32_t nRows,
             int32_t anchorX, int32_t anchorY);
// Blurs the source as iplBlur does with a window of xMaskSize x yMaskSize pixels, 0
// counting as 1, the pixel at half its size; then reduces it by xDst / xSrc and
// yDst / ySrc as iplDecimate does, with IPL_INTER_NN, _LINEAR or _CUBIC. Equal factors
// are no reduction: the blurred pixels are then those of the common region where both
// masks let them be written. Of images without channels of interest that differ in their
// number of channels, as many take part as both have. At unsigned depths and floats. Not
// in place.
void iplDecimateBlur(const IplImage* srcImage, IplImage* dstImage, int32_t xDst, int32_t xSrc,
                     int32_t yDst, int32_t ySrc, int32_t interpolate, int32_t xMaskSize,
                     int32_t yMaskSize);
