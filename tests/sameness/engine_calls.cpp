// The engine's functions but for those of bitmaps.
#include "_Src/ipl.h"
#include "quibtool/quibtool.h"
#include "tests/sameness/kernelarguments.h"
#include "tests/sameness/picture.h"
#include "tests/sameness/warpnumbers.h"

#include <algorithm>
#include <iterator>

namespace
{

int32_t anyValue(Call& call)
{
    constexpr int32_t special[] = {0, 1, -1, 255, 256, -256, 65535, 65536, INT32_MAX, INT32_MIN};
    const int32_t place = call.random.between(0, 19);
    const int32_t small = call.random.between(-300, 300);
    return call.note("value", place < 10 ? special[place] : small);
}

Format unsignedFormat(Call& call)
{
    constexpr uint32_t depths[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_8U, IPL_DEPTH_1U,
                                   IPL_DEPTH_32F};
    return formatOfDepth(call, depths[call.random.between(0, 4)]);
}

Format byteOrWordFormat(Call& call)
{
    return formatOfDepth(call, call.oneIn(2) ? IPL_DEPTH_8U : IPL_DEPTH_16U);
}

void seeReals(Call& call, const double* values, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        call.digest.real(values[i]);
}

// --- Errors --------------------------------------------------------------------------

void error(Call& call)
{
    const int32_t status = call.choose("status", -30, 0);
    call.digest.integer(iplError(status, "iplAdd", "text", "ipladd.c", 7));
    call.digest.integer(iplGetStatus());
}

void statusText(Call& call)
{
    const char* text = iplStatusText(call.choose("status", -130, 2));
    call.digest.text(text ? text : "null");
}

void setStatus(Call& call)
{
    iplSetStatus(call.choose("status", -30, 0));
    call.digest.integer(iplGetStatus());
    call.digest.integer(iplGetErrorMode());
}

void defaultHandler(Call& call)
{
    const int32_t status = call.choose("status", -30, 0);
    call.digest.integer(iplDefaultErrorHandler(status, "iplAdd", "text", "ipladd.c", 7));
}

void checkImage(Call& call)
{
    const Picture image(call, "image", anyFormat(call), withAll);
    const IplImage before = *image.get();
    int32_t* const fields[] = {&image->nSize,     &image->nChannels, &image->alphaChannel,
                               &image->dataOrder, &image->origin,    &image->align,
                               &image->width,     &image->height,    &image->imageSize,
                               &image->widthStep};
    if (!call.oneIn(4)) {
        int32_t* const field = fields[call.choose("field", 0, 9)];
        *field += call.choose("more", -2, 2);
    }
    call.digest.integer(iplCheckImage(image));
    call.digest.integer(iplGetStatus());
    *image.get() = before;
}

// --- Allocation ----------------------------------------------------------------------

template<auto allocate>
void allocateAligned(Call& call)
{
    void* const block = allocate(call.choose("count", -2, 100));
    call.digest.integer(block != nullptr);
    call.digest.integer(reinterpret_cast<uintptr_t>(block) % 32 != 0);
    iplAlignedFree(block);
}

void createHeader(Call& call)
{
    constexpr uint32_t depths[] = {1, 8, 16, 32, IPL_DEPTH_8S, IPL_DEPTH_16S, IPL_DEPTH_32S, 7};
    const uint32_t depth = call.oneOf("depth", depths);
    const int32_t nChannels = call.choose("nChannels", 0, 5);
    const int32_t alpha = call.oneIn(3) ? nChannels : 0;
    const int32_t order = call.choose("order", 0, call.oneIn(12) ? 2 : 1);
    const int32_t origin = call.choose("origin", 0, call.oneIn(12) ? 2 : 1);
    constexpr int32_t aligns[] = {4, 8, 16, 32, 4, 8, 16, 32, 5, 64};
    const int32_t align = call.oneOf("align", aligns);
    const int32_t width = call.choose("width", call.oneIn(8) ? -1 : 1, 100);
    const int32_t height = call.choose("height", call.oneIn(8) ? -1 : 1, 20);
    IplROI* const roi = call.oneIn(3) ? iplCreateROI(1, 2, 3, 4, 5) : nullptr;
    Made made(call, Seen::header);
    made.image = iplCreateImageHeader(nChannels, alpha, depth, "RGBA", "BGRA", order, origin, align,
                                      width, height, roi, nullptr, nullptr, nullptr);
    if (!made.image)
        iplAlignedFree(roi);
}

void allocateImage(Call& call)
{
    const Format of = anyFormat(call);
    const Size size = anySize(call);
    Made made(call, Seen::wholeRows);
    made.image = iplCreateImageHeader(of.channels, of.alphaChannel, of.depth, "RGBA", "BGRA",
                                      of.dataOrder, of.origin, of.align, size.width, size.height,
                                      nullptr, nullptr, nullptr, nullptr);
    iplAllocateImage(made.image, 1, anyValue(call));
}

void allocateFloats(Call& call)
{
    const Format of = formatOfDepth(call, call.oneIn(8) ? IPL_DEPTH_8U : IPL_DEPTH_32F);
    const Size size = anySize(call);
    const float value = static_cast<float>(call.sixteenths("value", -99, 99));
    Made made(call);
    made.image = iplCreateImageHeader(of.channels, of.alphaChannel, of.depth, "RGBA", "BGRA",
                                      of.dataOrder, of.origin, of.align, size.width, size.height,
                                      nullptr, nullptr, nullptr, nullptr);
    iplAllocateImageFP(made.image, 1, value);
}

// What is left of an image.
template<class Free>
void freeParts(Call& call, Free free)
{
    const Format of = anyFormat(call);
    Image image = makeImage(9, 5, of.channels, of.depth, of.dataOrder);
    randomise(image.get(), call.random);
    setRoi(image.get(), 0, 1, 1, 3, 3);
    giveRandomMask(image.get(), 4, 4, call.random);
    if (free(image.get()))
        image.release();
    else
        see(call, image.get());
}

void deallocate(Call& call)
{
    constexpr int32_t parts[] = {IPL_IMAGE_DATA, IPL_IMAGE_ROI, IPL_IMAGE_MASK,
                                 IPL_IMAGE_DATA | IPL_IMAGE_ROI, IPL_IMAGE_ALL};
    const int32_t flags = call.oneOf("flags", parts);
    freeParts(call, [flags](IplImage* image) {
        iplDeallocate(image, flags);
        return flags == IPL_IMAGE_ALL;
    });
}

void deallocateImage(Call& call)
{
    freeParts(call, [](IplImage* image) {
        iplDeallocateImage(image);
        return false;
    });
}

void deallocateHeader(Call& call)
{
    const Size size = anySize(call);
    IplImage* const header =
        iplCreateImageHeader(1, 0, IPL_DEPTH_8U, "GRAY", "GRAY", 0, 0, 4, size.width, size.height,
                             nullptr, nullptr, nullptr, nullptr);
    see(call, header);
    iplDeallocateHeader(header);
}

void region(Call& call)
{
    int32_t numbers[10];
    for (int32_t& number : numbers)
        number = call.choose("number", -5, 100);
    IplROI* const roi = iplCreateROI(numbers[0], numbers[1], numbers[2], numbers[3], numbers[4]);
    call.digest.integer(roi != nullptr);
    IplROI own{};
    iplSetROI(roi ? roi : &own, numbers[5], numbers[6], numbers[7], numbers[8], numbers[9]);
    const IplROI& left = roi ? *roi : own;
    for (const int32_t field : {left.coi, left.xOffset, left.yOffset, left.width, left.height})
        call.digest.integer(field);
    iplAlignedFree(roi);
}

void noTile(const IplImage*, int32_t, int32_t, int32_t) {}

void tileInfo(Call& call)
{
    int32_t numbers[4];
    for (int32_t& number : numbers)
        number = 4 * call.choose("number", -1, 9);
    IplTileInfo* const info = iplCreateTileInfo(noTile, nullptr, numbers[0], numbers[1]);
    call.digest.integer(info != nullptr);
    IplTileInfo own{};
    iplSetTileInfo(info ? info : &own, noTile, nullptr, numbers[2], numbers[3]);
    const IplTileInfo& left = info ? *info : own;
    call.digest.integer(left.width);
    call.digest.integer(left.height);
    call.digest.integer(left.callBack == noTile);
    iplAlignedFree(info);
}

void setBorderMode(Call& call)
{
    const Picture image(call, "image", anyFormat(call), withBorders);
    const int32_t mode = call.choose("mode", 0, 3);
    const int32_t sides = call.choose("sides", 0, 31);
    iplSetBorderMode(image, mode, sides, anyValue(call));
}

// --- Fill, copy and clone ------------------------------------------------------------

void set(Call& call)
{
    const Picture image(call, "image", anyFormat(call), withAll);
    iplSet(image, anyValue(call));
}

void clone(Call& call)
{
    const Picture src(call, "src", anyFormat(call), withRegion | withMask | withBorders);
    Made made(call);
    made.image = iplCloneImage(src);
}

void cloneForResult(Call& call)
{
    const Picture src(call, "src", anyFormat(call), withRegion);
    Made made(call, Seen::header);
    made.image = ownCloneForResult(src);
}

// --- Pixel operations ----------------------------------------------------------------

// A destination for a source of this format, mostly one that agrees with it.
struct Pair {
    Pair(Call& call, const Format& format, Format (*other)(Call& call), uint32_t parts)
        : src(call, "src", format, parts | withOddFloats),
          dst(call, "dst", mostly(call, format, other), parts)
    {
    }
    IplImage* target(Call& call)
    {
        const bool inPlace = call.oneIn(6);
        call.say(inPlace ? ", in place" : "");
        return inPlace ? src.get() : dst.get();
    }

    Picture src;
    Picture dst;
};

template<auto function>
void onOne(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    function(pair.src, pair.target(call));
}

template<auto function>
void onOneAndValue(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    const int32_t value = anyValue(call);
    function(pair.src, pair.target(call), value);
}

void subtractS(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    const int32_t value = anyValue(call);
    const int32_t reverse = call.choose("reverse", 0, 1);
    iplSubtractS(pair.src, pair.target(call), value, reverse);
}

template<auto function>
void onOneAndShift(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    const uint32_t shift = static_cast<uint32_t>(call.choose("shift", 0, 34));
    function(pair.src, pair.target(call), shift);
}

template<auto function, Format (*formats)(Call& call)>
void onBoth(Call& call)
{
    const Format format = formats(call);
    Pair pair(call, format, anyFormat, withAll);
    const Picture second(call, "second", mostly(call, format, anyFormat), withAll);
    function(pair.src, second, pair.target(call));
}

void multiplySScale(Call& call)
{
    Pair pair(call, byteOrWordFormat(call), anyFormat, withAll);
    const int32_t value = anyValue(call);
    iplMultiplySScale(pair.src, pair.target(call), value);
}

void compositeC(Call& call)
{
    const Format format = byteOrWordFormat(call);
    Pair pair(call, format, anyFormat, withRegion | withMask);
    const Picture second(call, "second", format, withRegion | withMask);
    const int32_t type = call.choose("type", 0, 5);
    const int32_t most = format.depth == IPL_DEPTH_8U ? 255 : 65535;
    const int32_t aA = call.choose("aA", -1, most);
    const int32_t aB = call.choose("aB", -1, most);
    const int32_t premultiplied = call.choose("premultiplied", 0, 1);
    const int32_t divided = call.choose("divided", 0, 1);
    iplAlphaCompositeC(pair.src, second, pair.dst, type, aA, aB, premultiplied, divided);
}

void composite(Call& call)
{
    Format format = byteOrWordFormat(call);
    Pair pair(call, format, anyFormat, withRegion | withMask);
    const Picture second(call, "second", format, withRegion | withMask);
    format.channels = 1;
    format.alphaChannel = 0;
    const Picture alphaA(call, "alphaA", format, withRegion);
    const Picture alphaB(call, "alphaB", format, withRegion);
    const Picture alphaDst(call, "alphaDst", format, withRegion);
    const int32_t type = call.choose("type", 0, 5);
    const int32_t premultiplied = call.choose("premultiplied", 0, 1);
    const int32_t divided = call.choose("divided", 0, 1);
    const int32_t given = call.choose("alphas", 0, 7);
    iplAlphaComposite(pair.src, second, pair.dst, type, given & 1 ? alphaA.get() : nullptr,
                      given & 2 ? alphaB.get() : nullptr, given & 4 ? alphaDst.get() : nullptr,
                      premultiplied, divided);
}

// --- Size ----------------------------------------------------------------------------

enum class Scaling { up, down, any };

void scaleFactors(Call& call, Scaling scaling, int32_t (&factors)[4])
{
    for (int32_t i = 0; i < 4; i += 2) {
        int32_t first = call.random.between(1, 9);
        int32_t second = call.oneIn(3) ? first : call.random.between(1, 9);
        const bool ordered = scaling != Scaling::any && !call.oneIn(16);
        if (ordered && (first < second) == (scaling == Scaling::up))
            std::swap(first, second);
        factors[i] = call.note("to", first);
        factors[i + 1] = call.note("from", second);
    }
}

template<auto function, Scaling scaling, int32_t mostMode>
void scale(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    int32_t factors[4];
    scaleFactors(call, scaling, factors);
    const int32_t mode = call.choose("interpolate", 0, mostMode);
    function(pair.src, pair.dst, factors[0], factors[1], factors[2], factors[3], mode);
}

// --- Geometry of warps ---------------------------------------------------------------

template<auto quadFunction, auto boundFunction>
void affineShape(Call& call)
{
    const Picture image(call, "image", anyFormat(call), withRegion);
    const WarpCoefficients coefficients(call);
    double values[4][2] = {};
    quadFunction(image, coefficients.rows, values);
    seeReals(call, values[0], 8);
    double bound[2][2] = {};
    boundFunction(image, coefficients.rows, bound);
    seeReals(call, bound[0], 4);
}

void perspectiveTransform(Call& call)
{
    const Picture image(call, "image", anyFormat(call), withRegion);
    const WarpQuad quad(call, 50, 20);
    double coefficients[3][3] = {};
    iplGetPerspectiveTransform(image, coefficients, quad.corners);
    seeReals(call, coefficients[0], 9);
}

void rotateShift(Call& call)
{
    const double x = call.sixteenths("x", -100, 100);
    const double y = call.sixteenths("y", -100, 100);
    const double angle = anyAngle(call);
    double shift[2] = {1.5, -2.25};
    iplGetRotateShift(x, y, angle, &shift[0], &shift[1]);
    seeReals(call, shift, 2);
}

// --- Warps ---------------------------------------------------------------------------

void warpAffine(Call& call)
{
    Pair pair(call, unsignedFormat(call), anyFormat, withRegion | withMask | withTiles);
    const WarpCoefficients coefficients(call);
    const int32_t interpolate = anyInterpolation(call);
    iplWarpAffine(pair.src, pair.dst, coefficients.rows, interpolate);
}

void warpPerspective(Call& call)
{
    Pair pair(call, unsignedFormat(call), anyFormat, withRegion | withMask | withTiles);
    const WarpCoefficients coefficients(call);
    const int32_t flag = call.choose("warpFlag", 0, 1);
    const int32_t interpolate = anyInterpolation(call);
    iplWarpPerspective(pair.src, pair.dst, coefficients.rows, flag, interpolate);
}

void warpPerspectiveQ(Call& call)
{
    Pair pair(call, unsignedFormat(call), anyFormat, withRegion | withMask | withTiles);
    const int32_t flag = call.choose("warpFlag", 0, 1);
    const Size size = flag ? pair.src.size() : pair.dst.size();
    const WarpQuad quad(call, size.width, size.height);
    const int32_t interpolate = anyInterpolation(call);
    iplWarpPerspectiveQ(pair.src, pair.dst, quad.corners, flag, interpolate);
}

void rotate(Call& call)
{
    Pair pair(call, unsignedFormat(call), anyFormat, withRegion | withMask | withTiles);
    const double angle = anyAngle(call);
    const double x = call.sixteenths("x", -20, 40);
    const double y = call.sixteenths("y", -20, 40);
    const int32_t interpolate = anyInterpolation(call);
    iplRotate(pair.src, pair.dst, angle, x, y, interpolate);
}

void mirror(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    const int32_t axis = call.choose("flipAxis", -1, 1);
    iplMirror(pair.src, pair.target(call), axis);
}

// --- Gray and fewer levels -----------------------------------------------------------

void colorToGray(Call& call)
{
    constexpr uint32_t depths[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_8U, IPL_DEPTH_32S};
    Format from = formatOfDepth(call, depths[call.random.between(0, 3)]);
    from.channels = call.oneIn(2) ? 3 : 4;
    from.alphaChannel = 0;
    constexpr uint32_t targets[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_1U, IPL_DEPTH_8U};
    Format to = formatOfDepth(call, targets[call.random.between(0, 3)]);
    to.channels = 1;
    to.alphaChannel = 0;
    if (!call.oneIn(8))
        to.origin = from.origin;
    const Picture src(call, "src", from, withRegion | withTiles);
    const Picture dst(call, "dst", to, withRegion | withTiles);
    src->channelSeq[0] = call.oneIn(2) ? 'R' : 'B';
    src->channelSeq[2] = src->channelSeq[0] == 'R' ? 'B' : 'R';
    src->channelSeq[3] = '\0';
    std::memcpy(src->colorModel, "RGB", 4);
    iplColorToGray(src, dst);
}

void bitonalToGray(Call& call)
{
    const Picture src(call, "src", formatOfDepth(call, IPL_DEPTH_1U), withRegion | withTiles);
    const Format to = anyFormat(call);
    const Picture dst(call, "dst", to, src.size(), withRegion | withTiles);
    const int32_t zero = call.choose("ZeroScale", 0, 200);
    const int32_t one = call.choose("OneScale", -1, 300);
    iplBitonalToGray(src, dst, zero, one);
}

void reduceBits(Call& call)
{
    constexpr uint32_t depths[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32S, IPL_DEPTH_8U,
                                   IPL_DEPTH_32F};
    const int32_t place = call.random.between(0, 4);
    const Format from = formatOfDepth(call, depths[place]);
    Format to = from;
    if (call.oneIn(3))
        to.depth = from.channels == 1 ? IPL_DEPTH_1U : IPL_DEPTH_8U;
    const Picture src(call, "src", from, withRegion | withMask | withTiles);
    const Picture dst(call, "dst", to, withRegion | withMask | withTiles);
    const int32_t noise = call.oneIn(2) ? 0 : call.choose("noise", 0, 100);
    constexpr int32_t dithers[] = {1, 2, 4, 8, 16, 3};
    const int32_t dither = dithers[call.random.between(0, call.oneIn(12) ? 5 : 4)];
    call.note("dither", dither);
    const int32_t levels = to.depth == IPL_DEPTH_1U ? 2 : call.choose("levels", 2, 257);
    iplReduceBits(src, dst, noise, dither, levels);
}

// --- Kernels and convolutions --------------------------------------------------------

OwnConvKernel* makeOfInts(const KernelArguments& of)
{
    return iplCreateConvKernel(of.nCols, of.nRows, of.anchorX, of.anchorY, of.values, of.shift);
}

OwnConvKernel* makeOfBytes(const KernelArguments& of)
{
    return iplCreateConvKernelChar(of.nCols, of.nRows, of.anchorX, of.anchorY, of.bytes, of.shift);
}

OwnConvKernel* anyKernel(Call& call, int32_t mostCols, int32_t mostRows)
{
    return makeOfInts(KernelArguments(call, mostCols, mostRows, true));
}

template<class Tap, auto make, auto get>
void kernel(Call& call)
{
    OwnConvKernel* const made = make(KernelArguments(call, mostTaps, mostTaps, true));
    int32_t fields[5] = {};
    Tap taps[mostTaps * mostTaps] = {};
    Tap* at = taps;
    if (made)
        get(made, &fields[0], &fields[1], &fields[2], &fields[3], &at, &fields[4]);
    for (const int32_t field : fields)
        call.digest.integer(field);
    for (const Tap tap : taps)
        call.digest.integer(tap);
    iplDeleteConvKernel(made);
}

void convolve(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    const int32_t most = call.choose("most", 1, mostTaps);
    const int32_t count = call.oneIn(2) ? 1 : call.choose("kernels", 2, 3);
    OwnConvKernel* kernels[3] = {};
    for (int32_t i = 0; i < count; ++i)
        kernels[i] = anyKernel(call, most, most);
    const int32_t method = call.choose("combineMethod", 0, 4);
    iplConvolve2D(pair.src, pair.target(call), kernels, count, method);
    for (OwnConvKernel* const made : kernels)
        iplDeleteConvKernel(made);
}

void convolveSep(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    OwnConvKernel* const x = call.oneIn(8) ? nullptr : anyKernel(call, mostTaps, 1);
    OwnConvKernel* const y = call.oneIn(8) ? nullptr : anyKernel(call, 1, mostTaps);
    iplConvolveSep2D(pair.src, pair.dst, x, y);
    iplDeleteConvKernel(x);
    iplDeleteConvKernel(y);
}

// --- Window filters ------------------------------------------------------------------

template<auto function, int32_t most, bool inPlace = false>
void ofWindow(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    const int32_t nCols = call.choose("nCols", 1, most);
    const int32_t nRows = call.choose("nRows", 1, most);
    const int32_t anchorX = call.choose("anchorX", 0, nCols - 1);
    const int32_t anchorY = call.choose("anchorY", call.oneIn(20) ? -1 : 0, nRows - 1);
    IplImage* const target = inPlace ? pair.target(call) : pair.dst.get();
    function(pair.src, target, nCols, nRows, anchorX, anchorY);
}

void fixedFilter(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    const int32_t filter = call.choose("filter", 0, 11);
    call.digest.integer(iplFixedFilter(pair.src, pair.dst, filter));
}

void decimateBlur(Call& call)
{
    Pair pair(call, anyFormat(call), anyFormat, withAll);
    int32_t factors[4];
    scaleFactors(call, Scaling::down, factors);
    const int32_t interpolate = call.choose("interpolate", 0, 2);
    const int32_t xMaskSize = call.choose("xMaskSize", 0, 7);
    const int32_t yMaskSize = call.choose("yMaskSize", 0, 7);
    iplDecimateBlur(pair.src, pair.dst, factors[0], factors[1], factors[2], factors[3], interpolate,
                    xMaskSize, yMaskSize);
}

} // namespace

std::vector<CorpusFunction> corpusOfEngine()
{
    constexpr auto affine = affineShape<iplGetAffineQuad, iplGetAffineBound>;
    constexpr auto perspective = affineShape<iplGetPerspectiveQuad, iplGetPerspectiveBound>;
    return {
        {"iplAbs", onOne<iplAbs>},
        {"iplAdd", onBoth<iplAdd, anyFormat>, 160},
        {"iplAddS", onOneAndValue<iplAddS>, 160},
        {"iplAlignedFree", allocateAligned<iplAlignedMalloc>, 24},
        {"iplAlignedMalloc", allocateAligned<iplAlignedMalloc>, 24},
        {"iplAlignedMalloc16", allocateAligned<iplAlignedMalloc16>, 24},
        {"iplAlignedMalloc32", allocateAligned<iplAlignedMalloc32>, 24},
        {"iplAllocateImage", allocateImage},
        {"iplAllocateImageFP", allocateFloats, 48},
        {"iplAlphaComposite", composite, 240},
        {"iplAlphaCompositeC", compositeC, 240},
        {"iplAnd", onBoth<iplAnd, anyFormat>},
        {"iplAndS", onOneAndValue<iplAndS>},
        {"iplBitonalToGray", bitonalToGray, 160},
        {"iplBlur", ofWindow<iplBlur, 9, true>, 240},
        {"iplCheckImage", checkImage},
        {"iplCloneImage", clone},
        {"iplColorMedianFilter", ofWindow<iplColorMedianFilter, 4>},
        {"iplColorToGray", colorToGray, 160},
        {"iplConvolve2D", convolve, 320},
        {"iplConvolveSep2D", convolveSep, 240},
        {"iplCopy", onOne<iplCopy>, 160},
        {"iplCreateConvKernel", kernel<int32_t, makeOfInts, iplGetConvKernel>, 24},
        {"iplCreateConvKernelChar", kernel<int8_t, makeOfBytes, iplGetConvKernelChar>, 24},
        {"iplCreateImageHeader", createHeader, 160},
        {"iplCreateROI", region, 24},
        {"iplCreateTileInfo", tileInfo, 24},
        {"iplDeallocate", deallocate, 24},
        {"iplDeallocateHeader", deallocateHeader, 24},
        {"iplDeallocateImage", deallocateImage, 24},
        {"iplDecimate", scale<iplDecimate, Scaling::down, 3>, 320},
        {"iplDecimateBlur", decimateBlur, 160},
        {"iplDefaultErrorHandler", defaultHandler, 24},
        {"iplDeleteConvKernel", kernel<int8_t, makeOfInts, iplGetConvKernelChar>, 24},
        {"iplError", error, 48},
        {"iplFixedFilter", fixedFilter, 320},
        {"iplGetAffineBound", affine, 48},
        {"iplGetAffineQuad", affine, 48},
        {"iplGetConvKernel", kernel<int32_t, makeOfBytes, iplGetConvKernel>, 24},
        {"iplGetConvKernelChar", kernel<int8_t, makeOfInts, iplGetConvKernelChar>, 24},
        {"iplGetErrorMode", setStatus, 24},
        {"iplGetPerspectiveBound", perspective, 48},
        {"iplGetPerspectiveQuad", perspective, 48},
        {"iplGetPerspectiveTransform", perspectiveTransform, 48},
        {"iplGetRotateShift", rotateShift},
        {"iplGetStatus", setStatus, 24},
        {"iplLShiftS", onOneAndShift<iplLShiftS>},
        {"iplMaxFilter", ofWindow<iplMaxFilter, 9>, 160},
        {"iplMedianFilter", ofWindow<iplMedianFilter, 7>, 160},
        {"iplMinFilter", ofWindow<iplMinFilter, 9>, 160},
        {"iplMirror", mirror, 160},
        {"iplMultiply", onBoth<iplMultiply, anyFormat>, 160},
        {"iplMultiplyS", onOneAndValue<iplMultiplyS>, 160},
        {"iplMultiplySScale", multiplySScale},
        {"iplMultiplyScale", onBoth<iplMultiplyScale, byteOrWordFormat>},
        {"iplNot", onOne<iplNot>},
        {"iplOr", onBoth<iplOr, anyFormat>},
        {"iplOrS", onOneAndValue<iplOrS>},
        {"iplRShiftS", onOneAndShift<iplRShiftS>},
        {"iplReduceBits", reduceBits, 320},
        {"iplResize", scale<iplResize, Scaling::any, 3>, 320},
        {"iplRotate", rotate, 320},
        {"iplSet", set},
        {"iplSetBorderMode", setBorderMode, 48},
        {"iplSetROI", region, 24},
        {"iplSetStatus", setStatus, 24},
        {"iplSetTileInfo", tileInfo, 24},
        {"iplSquare", onOne<iplSquare>},
        {"iplStatusText", statusText, 48},
        {"iplSubtract", onBoth<iplSubtract, anyFormat>, 160},
        {"iplSubtractS", subtractS, 160},
        {"iplWarpAffine", warpAffine, 320},
        {"iplWarpPerspective", warpPerspective, 320},
        {"iplWarpPerspectiveQ", warpPerspectiveQ, 320},
        {"iplXor", onBoth<iplXor, anyFormat>},
        {"iplXorS", onOneAndValue<iplXorS>},
        {"iplZoom", scale<iplZoom, Scaling::up, 2>, 320},
        {"ownCloneForResult", cloneForResult, 48},
    };
}
