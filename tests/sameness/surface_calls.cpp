// The exported functions that take and give handles.
#include "_Src/ipl.h"
#include "quibtool/quibtool.h"
#include "tests/sameness/kernelarguments.h"
#include "tests/sameness/picture.h"
#include "tests/sameness/warpnumbers.h"
#include "tests/support/memory_surface.h"
#include "tests/support/plain_surface.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace
{

Format anyHandleFormat(Call& call)
{
    return call.oneIn(8) ? anyFormat(call) : handleFormat(call);
}

// Edges of an image, or somewhat outside it, mostly in their order.
QuibRect anyRect(Call& call, const Size& size)
{
    const int32_t x = call.random.between(-3, size.width - 1);
    const int32_t y = call.random.between(-3, size.height - 1);
    const int32_t right = call.random.between(call.oneIn(16) ? x - 2 : x + 1, size.width + 3);
    const int32_t bottom = call.random.between(call.oneIn(16) ? y - 2 : y + 1, size.height + 3);
    call.note("left", x);
    call.note("top", y);
    call.note("right", right);
    call.note("bottom", bottom);
    return {x, y, right, bottom};
}

void seeRect(Call& call, const QuibRect& rect)
{
    for (const int32_t edge : {rect.left, rect.top, rect.right, rect.bottom})
        call.digest.integer(edge);
}

// A rectangle or none, which a call may clip.
class RectArgument
{
public:
    RectArgument(Call& owner, const Size& size, int32_t oneNull)
        : call(owner), given(!owner.oneIn(oneNull))
    {
        if (given)
            rect = anyRect(call, size);
    }
    ~RectArgument() { seeRect(call, rect); }
    RectArgument(const RectArgument&) = delete;
    RectArgument& operator=(const RectArgument&) = delete;

    QuibRect* address() { return given ? &rect : nullptr; }

private:
    Call& call;
    bool given;
    QuibRect rect{};
};

int32_t anyValue(Call& call)
{
    constexpr int32_t special[] = {0, 1, -1, 255, 256, -256, 65535, 65536, INT32_MAX, INT32_MIN};
    const int32_t place = call.random.between(0, 19);
    const int32_t small = call.random.between(-300, 300);
    return call.note("value", place < 10 ? special[place] : small);
}

// --- Handles -------------------------------------------------------------------------

void create(Call& call)
{
    const int32_t width = call.choose("width", -1, 80);
    const int32_t height = call.choose("height", -1, 20);
    constexpr int32_t depths[] = {1, 8, 24, 32, 1, 8, 24, 32, 16, 0};
    const int32_t bitDepth = call.oneOf("bitDepth", depths);
    const uint32_t colour = call.note("colour", call.random.next());
    Made made(call, bitDepth == 24 ? Seen::header : Seen::wholeRows);
    give(call, QuibCreate(width, height, bitDepth, made.address(), colour));
}

void create0(Call& call)
{
    const int32_t width = call.choose("width", -1, 80);
    const int32_t height = call.choose("height", -1, 20);
    constexpr int32_t depths[] = {1, 8, 24, 32, 1, 8, 24, 32, 16, 0};
    const int32_t bitDepth = call.oneOf("bitDepth", depths);
    Made made(call, Seen::header);
    give(call, QuibCreate0(width, height, bitDepth, made.address()));
}

void freeHandle(Call& call)
{
    IplImage* handle = nullptr;
    const Format format = anyHandleFormat(call);
    if (!call.oneIn(8))
        handle = makeImage(5, 5, format.channels, format.depth).release();
    give(call, QuibFree(&handle));
    see(call, handle);
}

void getInfo(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask);
    QuibInfo info{};
    give(call, QuibGetInfo(call.oneIn(16) ? nullptr : src.get(), &info));
    for (const int32_t field : {info.width, info.height, info.bitDepth, info.widthStep})
        call.digest.integer(field);
}

void lockData(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call));
    void* data = nullptr;
    give(call, QuibLockData(src, &data));
    call.digest.integer(data == src->imageData);
}

void unlockData(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call));
    give(call, QuibUnlockData(call.oneIn(8) ? nullptr : src.get()));
}

void fillColor(Call& call)
{
    Picture dst(call, "dst", anyHandleFormat(call), withRegion | withMask);
    dst.seen = Seen::wholeRows;
    RectArgument rect(call, dst.size(), 3);
    const uint32_t colour = call.note("colour", call.oneIn(2) ? call.random.next() : 200u);
    give(call, QuibFillColor(dst, colour, rect.address()));
}

void isBlack(Call& call)
{
    Picture src(call, "src", anyHandleFormat(call));
    const int32_t most = call.choose("most", 0, 255);
    for (int32_t i = 0; i < src->imageSize; ++i) {
        char& byte = src->imageData[i];
        byte = static_cast<char>(std::min(static_cast<int32_t>(static_cast<uint8_t>(byte)), most));
    }
    const uint32_t threshold = static_cast<uint32_t>(most - call.random.between(0, 1));
    int32_t result = 77;
    give(call, QuibIsBlack(src, threshold, &result));
    call.digest.integer(result);
}

void copy(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask);
    if (call.oneIn(2)) {
        Made made(call);
        give(call, QuibCopy(src, made.address()));
        return;
    }
    Picture dst(call, "dst", anyHandleFormat(call), src.size(), 0);
    IplImage* target = dst;
    if (dst->imageSize >= src->imageSize)
        give(call, QuibCopy(src, &target));
}

// --- Transfer ------------------------------------------------------------------------

void blit(Call& call)
{
    const Format format = anyHandleFormat(call);
    Picture src(call, "src", format, withRegion);
    Picture dst(call, "dst", mostly(call, format, handleFormat), withRegion | withMask);
    const QuibRect from = anyRect(call, src.size());
    QuibRect to = anyRect(call, dst.size());
    if (call.oneIn(2)) {
        to.right = to.left + from.right - from.left;
        to.bottom = to.top + from.bottom - from.top;
        seeRect(call, to);
    }
    const int32_t stretch = call.choose("stretch", 0, 1);
    Picture& target = call.oneIn(8) ? src : dst;
    give(call, QuibBlt(src, from.left, from.top, from.right, from.bottom, target, to.left, to.top,
                       to.right, to.bottom, stretch));
}

void panZoom(Call& call)
{
    const Format format = anyHandleFormat(call);
    Picture src(call, "src", format, withRegion);
    Picture dst(call, "dst", mostly(call, format, handleFormat), withRegion);
    const Size size = dst.size();
    const double srcX = call.sixteenths("srcX", -4, src->width);
    const double stepX = call.sixteenths("stepX", 0, 3);
    const double srcY = call.sixteenths("srcY", -4, src->height);
    const double stepY = call.sixteenths("stepY", 0, 3);
    const double left = call.sixteenths("left", -2, size.width);
    const double right = std::min<double>(left + call.sixteenths("columns", 0, 90), size.width);
    const double top = call.sixteenths("top", -2, size.height);
    const double bottom = std::min<double>(top + call.sixteenths("rows", 0, 30), size.height);
    const int32_t mode = call.choose("mode", 0, 3);
    give(call, QuibBlt_PANZOOM(src, srcX, stepX, srcY, stepY, dst, left, right, top, bottom, mode));
}

// --- Composition and alpha -----------------------------------------------------------

void composition1(Call& call)
{
    const Format format = formatOfBits(call.oneIn(16) ? 24 : 32);
    Picture a(call, "a", format, withRegion | withMask);
    Picture b(call, "b", format, withRegion | withMask);
    RectArgument rectA(call, a.size(), 2);
    RectArgument rectB(call, b.size(), 2);
    RectArgument rectResult(call, b.size(), 2);
    const int32_t type = call.choose("type", 0, 5);
    const int32_t premultiplied = call.choose("premultiplied", 0, 1);
    const int32_t divided = call.choose("divided", 0, 1);
    Made made(call);
    give(call, QuibComposition1(a, b, made.address(), rectA.address(), rectB.address(),
                                rectResult.address(), type, premultiplied, divided));
}

void composition2(Call& call)
{
    const Format format = formatOfBits(call.oneIn(16) ? 24 : 32);
    Picture a(call, "a", format, withRegion | withMask);
    Picture b(call, "b", format, withRegion | withMask);
    RectArgument rectA(call, a.size(), 2);
    RectArgument rectB(call, b.size(), 2);
    RectArgument rectResult(call, b.size(), 2);
    const uint32_t alphaA = static_cast<uint32_t>(call.choose("alphaA", 0, 300));
    const uint32_t alphaB = static_cast<uint32_t>(call.choose("alphaB", 0, 300));
    const int32_t type = call.choose("type", 0, 5);
    Made made(call);
    give(call, QuibComposition2(a, b, alphaA, alphaB, made.address(), rectA.address(),
                                rectB.address(), rectResult.address(), type));
}

// Pixels between and beside the two ends of alpha, where the forms differ most.
void giveEnds(Call& call, const Picture& picture)
{
    const bool ends = call.oneIn(2);
    for (int32_t i = 3; i < picture->imageSize && ends; i += 4)
        if (call.oneIn(2))
            picture->imageData[i] = static_cast<char>(call.oneIn(2) ? 0 : 255);
}

template<QuibStatus (*function)(const IplImage*, IplImage*, IplImage**)>
void layOver(Call& call)
{
    const Format format = call.oneIn(16) ? handleFormat(call) : formatOfBits(32);
    Picture over(call, "over", format, withRegion);
    const Size size = call.oneIn(2) ? over.size() : anySize(call);
    Picture under(call, "under", formatOfBits(32), size, withRegion);
    giveEnds(call, over);
    giveEnds(call, under);
    const int32_t kind = call.choose("result", 0, 2);
    if (kind == 0) {
        give(call, function(over, under, nullptr));
    } else if (kind == 1) {
        Made made(call, Seen::header);
        give(call, function(over, under, made.address()));
    } else {
        Picture result(call, "result", formatOfBits(32), size, 0);
        IplImage* target = result;
        give(call, function(over, under, &target));
    }
}

void composition4(Call& call)
{
    const Format format = call.oneIn(16) ? handleFormat(call) : formatOfBits(32);
    Picture over(call, "over", format);
    const Size size = call.oneIn(2) ? over.size() : anySize(call);
    Picture under(call, "under", formatOfBits(32), size, 0);
    giveEnds(call, over);
    giveEnds(call, under);
    const int32_t x = call.choose("x", -20, 40);
    const int32_t y = call.choose("y", -20, 10);
    const QuibPoint position{x, y};
    const bool placed = !call.oneIn(3);
    const int32_t left = call.choose("left", -5, 40);
    const int32_t top = call.choose("top", -15, 5);
    const int32_t columns = call.choose("columns", 0, 60);
    const int32_t rows = call.choose("rows", 0, 20);
    const QuibRect rectangle{left, top, left + columns, top - rows};
    const bool limited = call.oneIn(2);
    give(call, QuibComposition4(over, under, placed ? &position : nullptr,
                                limited ? &rectangle : nullptr));
}

void setAlpha(Call& call)
{
    Picture handle(call, "handle", call.oneIn(8) ? anyHandleFormat(call) : formatOfBits(32));
    const Size size = call.oneIn(4) ? anySize(call) : handle.size();
    Picture plane(call, "plane", formatOfBits(call.oneIn(16) ? 24 : 8), size, 0);
    const bool given = !call.oneIn(4);
    const uint32_t percent = static_cast<uint32_t>(call.choose("percent", 0, 101));
    give(call, QuibSetAlpha(handle, given ? plane.get() : nullptr, percent));
}

void setAlphaS(Call& call)
{
    Picture handle(call, "handle", call.oneIn(8) ? anyHandleFormat(call) : formatOfBits(32));
    RectArgument rect(call, handle.size(), 2);
    const uint32_t alpha = static_cast<uint32_t>(call.choose("alpha", 0, 300));
    give(call, QuibSetAlphaS(handle, rect.address(), alpha));
}

// --- Size and geometry ---------------------------------------------------------------

void resize(Call& call)
{
    const Format format = anyHandleFormat(call);
    Picture src(call, "src", format, withRegion | withMask);
    const Size size = call.oneIn(8) ? src.size() : anySize(call);
    Picture dst(call, "dst", mostly(call, format, anyHandleFormat), size, withRegion | withMask);
    constexpr int32_t modes[] = {0, 1, 2, 3, 0, 1, 2, 3, 0x7000, 0x7001, 4};
    const int32_t mode = call.oneOf("mode", modes);
    give(call, QuibResize(src, dst, mode));
}

void resizeFit(Call& call)
{
    const Format format = anyHandleFormat(call);
    Picture src(call, "src", format, withRegion | withMask);
    Picture dst(call, "dst", mostly(call, format, anyHandleFormat), withRegion | withMask);
    const int32_t mode = call.choose("mode", 0, 3);
    give(call, QuibResizeFit(src, dst, mode));
}

void flip(Call& call)
{
    const Format format = anyHandleFormat(call);
    Picture src(call, "src", format, withRegion | withMask);
    Picture dst(call, "dst", mostly(call, format, handleFormat), src.size(), withRegion | withMask);
    const int32_t axis = call.choose("axis", -1, 1);
    Picture& target = call.oneIn(4) ? src : dst;
    give(call, QuibFlip(src, target, axis));
}

void rotate(Call& call)
{
    const Format format = anyHandleFormat(call);
    Picture src(call, "src", format, withRegion);
    Picture dst(call, "dst", mostly(call, format, handleFormat), withRegion);
    const double angle = anyAngle(call);
    const int32_t x = call.choose("x", -5, 70);
    const int32_t y = call.choose("y", -5, 20);
    const int32_t interpolate = anyInterpolation(call);
    give(call, QuibRotate(src, dst, angle, x, y, interpolate));
}

void rotate3D(Call& call)
{
    Picture src(call, "src", formatOfBits(32), withRegion);
    const double angle = anyAngle(call);
    const int32_t axis = call.choose("axis", 1, 4);
    Made made(call);
    give(call, QUIBRotate3D(angle, src, made.address(), axis));
}

void warpAffine(Call& call)
{
    Picture src(call, "src", formatOfBits(32), withRegion);
    const WarpCoefficients coefficients(call);
    const int32_t interpolate = anyInterpolation(call);
    Made made(call);
    give(call, QUIBWarpAffine(src, made.address(), coefficients.rows, interpolate));
}

void warpPerspective(Call& call)
{
    Picture src(call, "src", formatOfBits(32), withRegion);
    const WarpCoefficients coefficients(call);
    const int32_t flag = call.choose("warpFlag", 0, 1);
    const int32_t interpolate = anyInterpolation(call);
    double bound[2][2] = {};
    iplGetPerspectiveBound(src, coefficients.rows, bound);
    const bool moderate = std::fabs(bound[0][0]) < 2000 && std::fabs(bound[0][1]) < 2000 &&
                          std::fabs(bound[1][0]) < 2000 && std::fabs(bound[1][1]) < 2000;
    Made made(call);
    if (moderate)
        give(call, QUIBWarpPerspective(src, made.address(), coefficients.rows, flag, interpolate));
}

template<auto function>
void warpQuad(Call& call)
{
    const Format format = handleFormat(call);
    Picture src(call, "src", format, withRegion);
    Picture dst(call, "dst", mostly(call, format, handleFormat), withRegion);
    const bool flag = call.choose("warpFlag", 0, 1) != 0;
    const Size size = flag ? src.size() : dst.size();
    const WarpQuad quad(call, size.width, size.height);
    const int32_t interpolate = anyInterpolation(call);
    if (call.oneIn(4)) {
        Made made(call, Seen::header);
        give(call, function(src, made.address(), quad.corners, interpolate, flag));
        return;
    }
    IplImage* target = dst;
    give(call, function(src, &target, quad.corners, interpolate, flag));
}

void seeReals(Call& call, const double* values, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        call.digest.real(values[i]);
}

void getPerspectiveQuad(Call& call)
{
    const Picture src(call, "src", handleFormat(call), withRegion);
    const WarpCoefficients coefficients(call);
    double quad[4][2] = {};
    give(call, QUIBGetPerspectiveQuad(src, coefficients.rows, quad));
    seeReals(call, quad[0], 8);
}

void perspectiveTransform(Call& call)
{
    const Picture src(call, "src", handleFormat(call), withRegion);
    const WarpQuad quad(call, 60, 20);
    double coefficients[3][3] = {};
    give(call, QUIBPerspectiveTransform(src, coefficients, quad.corners));
    seeReals(call, coefficients[0], 9);
}

// --- Tone and gray -------------------------------------------------------------------

template<class Work>
void intoNewOrOld(Call& call, IplImage* src, const Format& format, const Size& size, Seen seen,
                  Work work)
{
    const int32_t kind = call.choose("target", 0, 2);
    if (kind == 0) {
        Made made(call, seen);
        give(call, work(made.address()));
    } else if (kind == 1) {
        Picture dst(call, "dst", format, size, 0);
        IplImage* target = dst;
        give(call, work(&target));
    } else {
        give(call, work(&src));
    }
}

void brightness(Call& call)
{
    const Format format = call.oneIn(12) ? handleFormat(call) : formatOfBits(32);
    Picture src(call, "src", format, withRegion);
    const int32_t value = call.choose("brightness", -150, 150);
    const int32_t contrast = call.choose("contrast", -150, 150);
    const int32_t channel = call.choose("channel", 0, 3);
    intoNewOrOld(call, src, formatOfBits(32), src.size(), Seen::colours, [&](IplImage** dst) {
        return QuibBrightnessAndContrast(src, dst, value, contrast, channel);
    });
}

void hue(Call& call)
{
    const Format format = call.oneIn(12) ? handleFormat(call) : formatOfBits(32);
    Picture src(call, "src", format, withRegion);
    const int32_t degrees = call.choose("hue", -420, 420);
    const int32_t saturation = call.choose("saturation", -120, 450);
    intoNewOrOld(call, src, formatOfBits(32), src.size(), Seen::pixels, [&](IplImage** dst) {
        return QuibHueAndSaturation(src, dst, degrees, saturation);
    });
}

void colorConversion(Call& call)
{
    Picture a(call, "a", handleFormat(call));
    const Size size = call.oneIn(2) ? a.size() : anySize(call);
    Picture b(call, "b", handleFormat(call), size, 0);
    give(call, QuibColorConversion(a, b));
}

void colorToGray(Call& call)
{
    Picture src(call, "src", call.oneIn(8) ? anyFormat(call) : handleFormat(call), withRegion);
    Made made(call);
    give(call, QuibColorToGray(src, made.address()));
}

void bitonalToGray(Call& call)
{
    Picture src(call, "src", call.oneIn(12) ? handleFormat(call) : formatOfBits(1), withRegion);
    const int32_t zero = call.choose("zeroScale", -2, 255);
    const int32_t one = call.choose("oneScale", 0, 257);
    Made made(call);
    give(call, QuibBitonalToGray(src, made.address(), zero, one));
}

// --- Fields and surfaces -------------------------------------------------------------

// A surface in memory of a common format, with random pixels.
template<class Surface>
class SurfacePicture
{
public:
    SurfacePicture(Call& owner, const Size& size)
        : call(owner), format(owner.random.between(0, 4)),
          pitch(size.width * 4 + owner.random.between(0, 7)),
          surface(static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height), pitch,
                  static_cast<size_t>(pitch) * static_cast<size_t>(size.height))
    {
        const SurfaceFormat& of = commonFormats[format];
        call.say(std::string(", surface ") + of.name);
        call.note("pitch", pitch);
        surface.setFormat(of.bits, of.red, of.green, of.blue);
        call.random.fill(surface.pixels(), surface.contents().size());
    }
    ~SurfacePicture()
    {
        const std::vector<uint8_t> bytes = surface.contents();
        call.digest.bytes(bytes.data(), bytes.size());
        call.digest.integer(surface.locks);
        call.digest.integer(surface.unlocks);
    }
    SurfacePicture(const SurfacePicture&) = delete;
    SurfacePicture& operator=(const SurfacePicture&) = delete;

    auto* get() { return surface.get(); }

private:
    Call& call;
    int32_t format;
    int32_t pitch;
    Surface surface;
};

template<class Surface, auto function>
void toSurface(Call& call)
{
    Picture handle(call, "handle", handleFormat(call), withRegion);
    const Size size = call.oneIn(12) ? anySize(call) : handle.size();
    SurfacePicture<Surface> surface(call, size);
    give(call, function(handle, surface.get()));
}

void fromSurface(Call& call)
{
    Picture handle(call, "handle", handleFormat(call), withRegion);
    const Size size = call.oneIn(12) ? anySize(call) : handle.size();
    SurfacePicture<Surface> surface(call, size);
    give(call, Surface2Quib(surface.get(), handle));
}

void toSurface16(Call& call)
{
    Picture handle(call, "handle", handleFormat(call), withRegion);
    handle.seen = Seen::wholeRows;
    const Size size = call.oneIn(12) ? anySize(call) : handle.size();
    SurfacePicture<Surface> surface(call, size);
    const int32_t is565 = call.choose("is565", 0, 1);
    give(call, QuibToSurf_16(handle, surface.get(), is565));
}

void interlace(Call& call)
{
    Picture handle(call, "handle", anyHandleFormat(call));
    handle.seen = Seen::wholeRows;
    const uint32_t mode = static_cast<uint32_t>(call.choose("mode", 0, 4));
    if (mode < 2 || mode == 4) {
        give(call, QuibInterlace(handle.get(), mode));
        return;
    }
    SurfacePicture<Surface> surface(call, handle.size());
    give(call, QuibInterlace(surface.get(), mode));
}

void unInterlace(Call& call)
{
    const Format format = handleFormat(call);
    Picture even(call, "even", format);
    const Format other = mostly(call, format, handleFormat);
    const Size size = call.oneIn(4) ? anySize(call) : even.size();
    Picture odd(call, "odd", other, size, 0);
    intoNewOrOld(call, even, format, even.size(), Seen::header,
                 [&](IplImage** dst) { return QuibUnInterlace(even, odd, dst); });
}

// --- Pixel operations ----------------------------------------------------------------

template<auto function>
void ofOne(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask);
    Made made(call);
    give(call, function(src, made.address()));
}

template<auto function>
void ofOneAndValue(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask);
    const int32_t value = anyValue(call);
    Made made(call);
    give(call, function(src, made.address(), value));
}

template<auto function>
void ofShift(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask);
    const uint32_t shift = static_cast<uint32_t>(call.choose("shift", 0, 34));
    Made made(call);
    give(call, function(src, made.address(), shift));
}

template<auto function>
void ofBoth(Call& call)
{
    const Format format = anyHandleFormat(call);
    const Picture a(call, "a", format, withRegion | withMask);
    const Format other = mostly(call, format, handleFormat);
    const Size size = call.oneIn(2) ? a.size() : anySize(call);
    const Picture b(call, "b", other, size, withRegion | withMask);
    Made made(call);
    give(call, function(a, b, made.address()));
}

// --- Filters -------------------------------------------------------------------------

template<auto function, int32_t most>
void ofWindow(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask | withBorders);
    const int32_t nCols = call.choose("nCols", 1, most);
    const int32_t nRows = call.choose("nRows", 1, most);
    const int32_t anchorX = call.choose("anchorX", call.oneIn(20) ? -1 : 0, nCols - 1);
    const int32_t anchorY = call.choose("anchorY", 0, nRows - 1);
    Made made(call);
    give(call, function(src, made.address(), nCols, nRows, anchorX, anchorY));
}

void fixedFilter(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask | withBorders);
    const int32_t filter = call.choose("filter", 0, 11);
    Made made(call);
    give(call, QuibFixedFilter(src, made.address(), filter));
}

void decimateBlur(Call& call)
{
    const Format format = anyHandleFormat(call);
    const Picture src(call, "src", format, withRegion | withMask | withBorders);
    const Size size = call.oneIn(2) ? src.size() : anySize(call);
    Picture dst(call, "dst", mostly(call, format, handleFormat), size, withRegion | withMask);
    const int32_t interpolate = call.choose("interpolate", 0, 2);
    const int32_t xMaskSize = call.choose("xMaskSize", 0, 7);
    const int32_t yMaskSize = call.choose("yMaskSize", 0, 7);
    if (dst->imageSize >= src->imageSize)
        give(call, QuibDecimateBlur(src, dst, interpolate, xMaskSize, yMaskSize));
}

// --- Kernels and convolutions --------------------------------------------------------

// A kernel, or null after a report where there can be none.
OwnConvKernel* anyKernel(Call& call, int32_t mostCols, int32_t mostRows)
{
    const KernelArguments of(call, mostCols, mostRows);
    OwnConvKernel* kernel = nullptr;
    QuibCreateConvKernel(&kernel, of.nCols, of.nRows, of.anchorX, of.anchorY, of.values, of.shift);
    return kernel;
}

template<class Tap, auto getKernel>
void seeKernel(Call& call, const OwnConvKernel* kernel)
{
    int32_t fields[5] = {};
    Tap taps[mostTaps * mostTaps] = {};
    Tap* at = taps;
    give(call, getKernel(kernel, &fields[0], &fields[1], &fields[2], &fields[3], &at, &fields[4]));
    for (const int32_t field : fields)
        call.digest.integer(field);
    for (const Tap tap : taps)
        call.digest.integer(tap);
}

void createKernel(Call& call)
{
    OwnConvKernel* kernel = anyKernel(call, mostTaps, mostTaps);
    seeKernel<int32_t, QuibGetConvKernel>(call, kernel);
    give(call, QuibDeleteConvKernel(kernel));
}

void createKernelChar(Call& call)
{
    const KernelArguments of(call, mostTaps, mostTaps);
    OwnConvKernel* kernel = nullptr;
    give(call, QuibCreateConvKernelChar(&kernel, of.nCols, of.nRows, of.anchorX, of.anchorY,
                                        of.bytes, of.shift));
    seeKernel<int8_t, QuibGetConvKernelChar>(call, kernel);
    give(call, QuibDeleteConvKernel(kernel));
}

void refuseKernel(Call& call)
{
    const int32_t value = 1;
    OwnConvKernel* kernel = nullptr;
    const int32_t nCols = call.choose("nCols", -1, 1);
    const int32_t anchorX = call.choose("anchorX", -1, 1);
    give(call, QuibCreateConvKernel(&kernel, nCols, 1, anchorX, 0, &value, 0));
    call.digest.integer(kernel != nullptr);
    give(call, QuibDeleteConvKernel(kernel));
}

// Kernels for one call, freed at its end.
class Kernels
{
public:
    explicit Kernels(int32_t kernels) : count(kernels) {}
    ~Kernels()
    {
        for (int32_t i = 0; i < count; ++i)
            QuibDeleteConvKernel(all[i]);
    }
    Kernels(const Kernels&) = delete;
    Kernels& operator=(const Kernels&) = delete;

    int32_t count;
    OwnConvKernel* all[10] = {};
};

void convolve(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask | withBorders);
    const int32_t most = call.choose("most", 1, mostTaps);
    Kernels kernels(call.oneIn(2) ? 1 : call.random.between(2, 4));
    for (int32_t i = 0; i < kernels.count; ++i)
        kernels.all[i] = anyKernel(call, most, most);
    const int32_t method = call.choose("combineMethod", 0, call.oneIn(12) ? 5 : 4);
    Made made(call);
    give(call, QuibConvolve2D(src, made.address(), kernels.all, kernels.count, method));
}

void convolveSep(Call& call)
{
    const Picture src(call, "src", anyHandleFormat(call), withRegion | withMask | withBorders);
    const int32_t wrong = call.oneIn(12) ? 2 : 1;
    Kernels kernels(2);
    kernels.all[0] = anyKernel(call, mostTaps, wrong);
    kernels.all[1] = anyKernel(call, wrong, mostTaps);
    Made made(call);
    give(call, QuibConvolveSep2D(src, made.address(), kernels.all[0], kernels.all[1]));
}

} // namespace

std::vector<CorpusFunction> corpusOfSurface()
{
    return {
        {"QUIBGetPerspectiveQuad", getPerspectiveQuad},
        {"QUIBPerspectiveTransform", perspectiveTransform},
        {"QUIBRotate3D", rotate3D},
        {"QUIBWarpAffine", warpAffine, 160},
        {"QUIBWarpPerspective", warpPerspective, 160},
        {"QUIBWarpPerspectiveQ", warpQuad<QUIBWarpPerspectiveQ>, 240},
        {"QUIBWarpPerspectiveQ_", warpQuad<QUIBWarpPerspectiveQ_>, 160},
        {"Quib2Surface", toSurface<Surface, Quib2Surface>, 160},
        {"Quib2Surface7", toSurface<Surface7, Quib2Surface7>, 160},
        {"QuibAbs", ofOne<QuibAbs>},
        {"QuibAdd", ofBoth<QuibAdd>},
        {"QuibAddS", ofOneAndValue<QuibAddS>},
        {"QuibAnd", ofBoth<QuibAnd>},
        {"QuibAndS", ofOneAndValue<QuibAndS>},
        {"QuibBitonalToGray", bitonalToGray},
        {"QuibBlt", blit, 240},
        {"QuibBlt_PANZOOM", panZoom, 240},
        {"QuibBlur", ofWindow<QuibBlur, 12>, 160},
        {"QuibBrightnessAndContrast", brightness, 160},
        {"QuibClone", ofOne<QuibClone>},
        {"QuibColorConversion", colorConversion, 24},
        {"QuibColorMedianFilter", ofWindow<QuibColorMedianFilter, 4>},
        {"QuibColorToGray", colorToGray},
        {"QuibComposition1", composition1, 240},
        {"QuibComposition2", composition2, 160},
        {"QuibComposition3", layOver<QuibComposition3>, 160},
        {"QuibComposition4", composition4, 160},
        {"QuibComposition_s", layOver<QuibComposition_s>, 160},
        {"QuibConvolve2D", convolve, 240},
        {"QuibConvolveSep2D", convolveSep, 160},
        {"QuibCopy", copy},
        {"QuibCreate", create},
        {"QuibCreate0", create0},
        {"QuibCreateConvKernel", refuseKernel, 24},
        {"QuibCreateConvKernelChar", createKernelChar, 24},
        {"QuibDecimateBlur", decimateBlur, 160},
        {"QuibDeleteConvKernel", createKernel, 24},
        {"QuibFillColor", fillColor, 160},
        {"QuibFixedFilter", fixedFilter, 240},
        {"QuibFlip", flip, 160},
        {"QuibFree", freeHandle, 24},
        {"QuibGetConvKernel", createKernel, 24},
        {"QuibGetConvKernelChar", createKernelChar, 24},
        {"QuibGetInfo", getInfo, 24},
        {"QuibHueAndSaturation", hue, 160},
        {"QuibInterlace", interlace},
        {"QuibIsBlack", isBlack},
        {"QuibLShiftS", ofShift<QuibLShiftS>},
        {"QuibLockData", lockData, 24},
        {"QuibMaxFilter", ofWindow<QuibMaxFilter, 9>, 160},
        {"QuibMedianFilter", ofWindow<QuibMedianFilter, 7>, 160},
        {"QuibMinFilter", ofWindow<QuibMinFilter, 9>, 160},
        {"QuibMultiply", ofBoth<QuibMultiply>},
        {"QuibMultiplyS", ofOneAndValue<QuibMultiplyS>},
        {"QuibMultiplySScale", ofOneAndValue<QuibMultiplySScale>},
        {"QuibMultiplyScale", ofBoth<QuibMultiplyScale>},
        {"QuibNot", ofOne<QuibNot>},
        {"QuibOr", ofBoth<QuibOr>},
        {"QuibOrS", ofOneAndValue<QuibOrS>},
        {"QuibRShiftS", ofShift<QuibRShiftS>},
        {"QuibResize", resize, 240},
        {"QuibResizeFit", resizeFit, 160},
        {"QuibRotate", rotate, 240},
        {"QuibSetAlpha", setAlpha},
        {"QuibSetAlphaS", setAlphaS},
        {"QuibSquare", ofOne<QuibSquare>},
        {"QuibSubtract", ofBoth<QuibSubtract>},
        {"QuibToSurf_16", toSurface16, 160},
        {"QuibUnInterlace", unInterlace},
        {"QuibUnlockData", unlockData, 24},
        {"QuibXor", ofBoth<QuibXor>},
        {"QuibXorS", ofOneAndValue<QuibXorS>},
        {"Surface2Quib", fromSurface, 160},
    };
}
