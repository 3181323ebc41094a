// Calls every function that the library exports, found by name, on small images of
// one colour, and looks at what each one gives.
#include "quibtool/platform.h"
#include "quibtool/quibtool.h"
#include "tests/application/library.h"
#include "tests/support/memory_surface.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace
{

class EveryFunction : public testing::Test
{
protected:
    ~EveryFunction() override
    {
        for (IplImage*& handle : handles)
            library.get<decltype(QuibFree)>("QuibFree")(&handle);
    }

    // Notes that the function is called.
    template<class Function>
    Function& function(const char* name)
    {
        const char* decorated = decoratedName(name);
        const char* exported = library.has(name) ? name : decorated;
        called.insert(exported);
        Function* address = library.get<Function>(exported);
        if (!address)
            throw std::runtime_error(std::string("no function ") + name);
        return *address;
    }

    // Handles go when the test does.
    IplImage* own(IplImage* handle)
    {
        if (handle)
            handles.push_back(handle);
        return handle;
    }
    IplImage* make(int32_t width, int32_t height, int32_t bitDepth, uint32_t colour)
    {
        IplImage* handle = nullptr;
        EXPECT_EQ(
            function<decltype(QuibCreate)>("QuibCreate")(width, height, bitDepth, &handle, colour),
            QUIB_OK);
        return own(handle);
    }

    void expectHandles();
    void expectInterchange();
    void expectFiles();
    void expectTransfer();
    void expectComposition();
    void expectSurfaces();
    void expectWarps();
    void expectTone();
    void expectGray();
    void expectArithmetic();
    void expectLogic();
    void expectKernels();
    void expectFilters();

    Library library;
    std::set<std::string> called;
    std::vector<IplImage*> handles;
};

// The exported function of the loaded library, with the header's own type.
#define CALL(name) function<decltype(name)>(#name)
#define EXPECT_OK(call) EXPECT_EQ(call, QUIB_OK)

// One pixel, its first byte the lowest.
uint32_t pixelAt(const IplImage* handle, int32_t x, int32_t y)
{
    const size_t bytes = handle->depth * static_cast<uint32_t>(handle->nChannels) / 8;
    uint32_t pixel = 0;
    std::memcpy(&pixel, handle->imageData + y * handle->widthStep + x * static_cast<int>(bytes),
                bytes);
    return pixel;
}

// Every pixel of a handle of these sizes has the colour, but for those this near to an edge.
void expectAll(const IplImage* handle, int32_t width, int32_t height, uint32_t colour,
               int32_t edge = 0)
{
    ASSERT_NE(handle, nullptr);
    ASSERT_EQ(handle->width, width);
    ASSERT_EQ(handle->height, height);
    for (int32_t y = edge; y < height - edge; ++y)
        for (int32_t x = edge; x < width - edge; ++x)
            ASSERT_EQ(pixelAt(handle, x, y), colour) << x << ", " << y;
}

void EveryFunction::expectHandles()
{
    IplImage* a = make(4, 3, 32, 0xFF102030u);
    expectAll(a, 4, 3, 0xFF102030u);
    IplImage* gray = nullptr;
    EXPECT_OK(CALL(QuibCreate0)(4, 3, 8, &gray));
    EXPECT_OK(CALL(QuibFillColor)(gray, 7, nullptr));
    expectAll(gray, 4, 3, 7);
    int32_t black = 1;
    EXPECT_OK(CALL(QuibIsBlack)(gray, 6, &black));
    EXPECT_EQ(black, 0);
    QuibInfo info{};
    EXPECT_OK(CALL(QuibGetInfo)(gray, &info));
    EXPECT_EQ(info.bitDepth, 8);
    void* data = nullptr;
    EXPECT_OK(CALL(QuibLockData)(gray, &data));
    EXPECT_EQ(data, gray->imageData);
    EXPECT_OK(CALL(QuibUnlockData)(gray));
    EXPECT_OK(CALL(QuibFree)(&gray));
    IplImage* clone = nullptr;
    EXPECT_OK(CALL(QuibClone)(a, &clone));
    own(clone);
    expectAll(clone, 4, 3, 0xFF102030u);
    IplImage* copy = make(4, 3, 32, 0);
    EXPECT_OK(CALL(QuibCopy)(a, &copy));
    expectAll(copy, 4, 3, 0xFF102030u);
}

// A packed bitmap of 2 x 2 pixels of 0x30, 0x20, 0x10.
std::vector<uint8_t> dibOf(int32_t bitCount)
{
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = 2;
    header.biHeight = 2;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bitCount);
    const size_t row = bitCount == 24 ? 8 : 8 * static_cast<size_t>(bitCount) / 32;
    std::vector<uint8_t> dib(sizeof header + 2 * row);
    std::memcpy(dib.data(), &header, sizeof header);
    for (size_t y = 0; y < 2; ++y)
        for (size_t x = 0; x < 2; ++x)
            for (size_t c = 0; c < 3; ++c)
                dib[sizeof header + y * row + x * static_cast<size_t>(bitCount) / 8 + c] =
                    static_cast<uint8_t>(0x30 - 0x10 * c);
    return dib;
}

void EveryFunction::expectInterchange()
{
    const std::vector<uint8_t> dib = dibOf(24);
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, dib.size());
    std::memcpy(GlobalLock(block), dib.data(), dib.size());
    GlobalUnlock(block);
    IplImage* handle = nullptr;
    EXPECT_OK(CALL(Dib2Quib)(block, &handle, 32));
    expectAll(own(handle), 2, 2, 0xFF102030u);
    IplImage* white = make(2, 2, 32, 0xFFFFFFFFu);
    EXPECT_OK(CALL(Quib2Dib)(white, block));
    EXPECT_EQ(static_cast<const uint8_t*>(GlobalLock(block))[sizeof(BITMAPINFOHEADER) + 5], 0xFF);
    GlobalUnlock(block);
    GlobalFree(block);

    const std::vector<uint8_t> dib32 = dibOf(32);
    IplImage* second = nullptr;
    EXPECT_OK(CALL(Dib2Quib0)(dib32.data(), dib32.data() + sizeof(BITMAPINFOHEADER), &second));
    expectAll(own(second), 2, 2, 0xFF102030u);
}

void EveryFunction::expectFiles()
{
    IplImage* picture = nullptr;
    EXPECT_OK(CALL(QuibLoadBMP)(QUIB_IMAGE_FOLDER "cat.bmp", &picture));
    ASSERT_NE(own(picture), nullptr);
    EXPECT_EQ(picture->nChannels, 4);
    IplImage* image = nullptr;
    IplImage* mask = nullptr;
    EXPECT_OK(CALL(QuibLoadFramePsd2Bmp)(QUIB_PSD_FOLDER "agpsd_runs.psd", &image, &mask));
    ASSERT_NE(own(image), nullptr);
    ASSERT_NE(own(mask), nullptr);
    EXPECT_EQ(image->nChannels, 4);
    EXPECT_EQ(mask->nChannels, 1);
    EXPECT_EQ(mask->width, image->width);

    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = 4;
    info.bmiHeader.biHeight = -4;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    const HDC context = CreateCompatibleDC(nullptr);
    const HBITMAP bitmap = CreateDIBSection(context, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ before = SelectObject(context, bitmap);
    EXPECT_OK(CALL(QuibDrawToHDC)(make(2, 2, 32, 0xFF102030u), context, 1, 1));
    GdiFlush();
    uint32_t pixels[16];
    std::memcpy(pixels, bits, sizeof pixels);
    EXPECT_EQ(pixels[0] & 0xFFFFFF, 0u);
    EXPECT_EQ(pixels[5] & 0xFFFFFF, 0x102030u);
    EXPECT_EQ(pixels[10] & 0xFFFFFF, 0x102030u);
    SelectObject(context, before);
    DeleteObject(bitmap);
    DeleteDC(context);
}

void EveryFunction::expectTransfer()
{
    IplImage* a = make(8, 8, 32, 0xFF102030u);
    const auto blank = [this](int32_t size) { return make(size, size, 32, 0); };
    IplImage* blitted = blank(6);
    EXPECT_OK(CALL(QuibBlt)(a, 0, 0, 8, 8, blitted, 0, 0, 6, 6, 1));
    expectAll(blitted, 6, 6, 0xFF102030u);
    IplImage* panned = blank(8);
    EXPECT_OK(CALL(QuibBlt_PANZOOM)(a, 1, 0.5, 1, 0.5, panned, 0, 8, 0, 8, 1));
    expectAll(panned, 8, 8, 0xFF102030u);
    IplImage* resized = blank(5);
    EXPECT_OK(CALL(QuibResize)(a, resized, 1));
    expectAll(resized, 5, 5, 0xFF102030u);
    IplImage* fitted = blank(9);
    EXPECT_OK(CALL(QuibResizeFit)(a, fitted, 0));
    expectAll(fitted, 9, 9, 0xFF102030u);
    IplImage* flipped = blank(8);
    EXPECT_OK(CALL(QuibFlip)(a, flipped, -1));
    expectAll(flipped, 8, 8, 0xFF102030u);
    IplImage* turned = blank(8);
    EXPECT_OK(CALL(QuibRotate)(a, turned, 30, 4, 4, 1));
    EXPECT_EQ(pixelAt(turned, 4, 4), 0xFF102030u);

    IplImage* woven = nullptr;
    EXPECT_OK(CALL(QuibUnInterlace)(a, blank(8), &woven));
    own(woven);
    EXPECT_EQ(pixelAt(woven, 0, 0), 0xFF102030u);
    EXPECT_EQ(pixelAt(woven, 0, 1), 0u);
    EXPECT_OK(CALL(QuibInterlace)(woven, 1));
    expectAll(woven, 8, 8, 0xFF102030u);
}

void EveryFunction::expectComposition()
{
    IplImage* over = make(4, 4, 32, 0xFF102030u);
    const auto under = [this] { return make(4, 4, 32, 0xFF405060u); };
    IplImage* results[3] = {};
    EXPECT_OK(
        CALL(QuibComposition1)(over, under(), &results[0], nullptr, nullptr, nullptr, 0, 0, 0));
    EXPECT_OK(
        CALL(QuibComposition2)(over, under(), 255, 255, &results[1], nullptr, nullptr, nullptr, 0));
    EXPECT_OK(CALL(QuibComposition3)(over, under(), &results[2]));
    for (IplImage* result : results)
        expectAll(own(result), 4, 4, 0xFF102030u);
    IplImage* at = under();
    const QuibPoint position{2, -2};
    EXPECT_OK(CALL(QuibComposition4)(over, at, &position, nullptr));
    EXPECT_EQ(pixelAt(at, 1, 1), 0xFF405060u);
    EXPECT_EQ(pixelAt(at, 2, 2), 0xFF102030u);
    IplImage* simple = under();
    EXPECT_OK(CALL(QuibSetAlphaS)(over, nullptr, 0));
    expectAll(over, 4, 4, 0x00102030u);
    EXPECT_OK(CALL(QuibComposition_s)(over, simple, nullptr));
    expectAll(simple, 4, 4, 0xFF405060u);
    EXPECT_OK(CALL(QuibSetAlpha)(over, make(4, 4, 8, 0x77), 100));
    expectAll(over, 4, 4, 0x77102030u);
}

template<class SurfaceKind>
void setFormat(SurfaceKind& surface, uint32_t bits)
{
    if (bits == 16)
        surface.setFormat(16, 0xF800, 0x07E0, 0x001F);
    else
        surface.setFormat(bits, 0xFF0000, 0xFF00, 0xFF);
}

void EveryFunction::expectSurfaces()
{
    const uint16_t packed = 0x10 >> 3 << 11 | 0x20 >> 2 << 5 | 0x30 >> 3;
    const auto word = [](const std::vector<uint8_t>& bytes, size_t at) {
        return bytes[at] | bytes[at + 1] << 8;
    };
    IplImage* handle = make(2, 2, 32, 0xFF102030u);
    Surface surface32(2, 2, 8, 16);
    setFormat(surface32, 32);
    EXPECT_OK(CALL(Quib2Surface)(handle, surface32.get()));
    EXPECT_EQ(word(surface32.contents(), 12), 0x2030);
    IplImage* back = make(2, 2, 32, 0);
    EXPECT_OK(CALL(Surface2Quib)(surface32.get(), back));
    expectAll(back, 2, 2, 0xFF102030u);
    Surface7 newer(2, 2, 4, 8);
    setFormat(newer, 16);
    EXPECT_OK(CALL(Quib2Surface7)(handle, newer.get()));
    EXPECT_EQ(word(newer.contents(), 6), packed);
    Surface surface16(2, 2, 4, 8);
    setFormat(surface16, 16);
    EXPECT_OK(CALL(QuibToSurf_16)(handle, surface16.get(), 1));
    EXPECT_EQ(word(surface16.contents(), 6), packed);
}

void EveryFunction::expectWarps()
{
    IplImage* src = make(20, 10, 32, 0xFF102030u);
    const double shift[3][3] = {{1, 0, 3}, {0, 1, 2}, {0, 0, 1}};
    IplImage* affine = nullptr;
    EXPECT_OK(CALL(QUIBWarpAffine)(src, &affine, shift, 0));
    EXPECT_EQ(pixelAt(own(affine), 10, 8), 0xFF102030u);
    IplImage* perspective = nullptr;
    EXPECT_OK(CALL(QUIBWarpPerspective)(src, &perspective, shift, 0, 0));
    EXPECT_EQ(pixelAt(own(perspective), 10, 8), 0xFF102030u);
    IplImage* turned = nullptr;
    EXPECT_OK(CALL(QUIBRotate3D)(1, src, &turned, 3));
    EXPECT_EQ(pixelAt(own(turned), turned->width / 2, turned->height / 2), 0xFF102030u);

    double quad[4][2] = {};
    EXPECT_OK(CALL(QUIBGetPerspectiveQuad)(src, shift, quad));
    EXPECT_EQ(quad[2][0], 22);
    EXPECT_EQ(quad[2][1], 11);
    double coeffs[3][3] = {};
    EXPECT_OK(CALL(QUIBPerspectiveTransform)(src, coeffs, quad));
    EXPECT_NEAR(coeffs[0][2] / coeffs[2][2], 3, 1e-9);
    IplImage* onQuad = nullptr;
    EXPECT_OK(CALL(QUIBWarpPerspectiveQ)(src, &onQuad, quad, 0, false));
    EXPECT_EQ(pixelAt(own(onQuad), 10, 8), 0xFF102030u);
    IplImage* onQuadAlone = nullptr;
    EXPECT_OK(CALL(QUIBWarpPerspectiveQ_)(src, &onQuadAlone, quad, 0, false));
    EXPECT_EQ(pixelAt(own(onQuadAlone), 10, 8), 0xFF102030u);
}

void EveryFunction::expectTone()
{
    IplImage* src = make(4, 4, 32, 0xFF102030u);
    IplImage* brighter = make(4, 4, 32, 0xFF000000u);
    EXPECT_OK(CALL(QuibBrightnessAndContrast)(src, &brighter, 16, 0, 0));
    expectAll(brighter, 4, 4, 0xFF203040u);
    IplImage* red = make(4, 4, 32, 0xFFFF0000u);
    IplImage* green = make(4, 4, 32, 0);
    EXPECT_OK(CALL(QuibHueAndSaturation)(red, &green, 120, 0));
    expectAll(green, 4, 4, 0xFF00FF00u);
}

void EveryFunction::expectGray()
{
    IplImage* white = make(4, 4, 32, 0xFFFFFFFFu);
    IplImage* gray = nullptr;
    EXPECT_OK(CALL(QuibColorToGray)(white, &gray));
    expectAll(own(gray), 4, 4, 254);
    IplImage* shades = nullptr;
    EXPECT_OK(CALL(QuibBitonalToGray)(make(4, 4, 1, 1), &shades, 10, 20));
    expectAll(own(shades), 4, 4, 20);
    EXPECT_OK(CALL(QuibColorConversion)(white, gray));
}

// Runs an operation of one or two 8-bit handles of 12 and 5, and expects its result.
#define EXPECT_ON_ONE(name, expected, ...)                                                         \
    do {                                                                                           \
        IplImage* made = nullptr;                                                                  \
        EXPECT_OK(CALL(name)(twelve, &made __VA_OPT__(, ) __VA_ARGS__));                           \
        expectAll(own(made), 4, 4, expected);                                                      \
    } while (false)
#define EXPECT_ON_BOTH(name, expected)                                                             \
    do {                                                                                           \
        IplImage* made = nullptr;                                                                  \
        EXPECT_OK(CALL(name)(twelve, five, &made));                                                \
        expectAll(own(made), 4, 4, expected);                                                      \
    } while (false)

void EveryFunction::expectArithmetic()
{
    IplImage* twelve = make(4, 4, 8, 12);
    IplImage* five = make(4, 4, 8, 5);
    EXPECT_ON_ONE(QuibAddS, 112, 100);
    EXPECT_ON_ONE(QuibMultiplyS, 36, 3);
    EXPECT_ON_ONE(QuibMultiplySScale, 12, 255);
    EXPECT_ON_ONE(QuibSquare, 144);
    EXPECT_ON_ONE(QuibAbs, 12);
    EXPECT_ON_BOTH(QuibAdd, 17);
    EXPECT_ON_BOTH(QuibSubtract, 7);
    EXPECT_ON_BOTH(QuibMultiply, 60);
    EXPECT_ON_BOTH(QuibMultiplyScale, 0);
}

void EveryFunction::expectLogic()
{
    IplImage* twelve = make(4, 4, 8, 12);
    IplImage* five = make(4, 4, 8, 5);
    EXPECT_ON_ONE(QuibLShiftS, 48, 2);
    EXPECT_ON_ONE(QuibRShiftS, 3, 2);
    EXPECT_ON_ONE(QuibNot, 243);
    EXPECT_ON_ONE(QuibAndS, 4, 6);
    EXPECT_ON_ONE(QuibOrS, 14, 6);
    EXPECT_ON_ONE(QuibXorS, 10, 6);
    EXPECT_ON_BOTH(QuibAnd, 4);
    EXPECT_ON_BOTH(QuibOr, 13);
    EXPECT_ON_BOTH(QuibXor, 9);
}

void EveryFunction::expectKernels()
{
    const int32_t row[3] = {1, 2, 1};
    const int8_t column[3] = {1, 2, 1};
    OwnConvKernel* xKernel = nullptr;
    OwnConvKernel* yKernel = nullptr;
    EXPECT_OK(CALL(QuibCreateConvKernel)(&xKernel, 3, 1, 1, 0, row, 2));
    EXPECT_OK(CALL(QuibCreateConvKernelChar)(&yKernel, 1, 3, 0, 1, column, 2));
    int32_t sizes[5] = {};
    int32_t taps[3] = {};
    int32_t* tapsAt = taps;
    EXPECT_OK(CALL(QuibGetConvKernel)(yKernel, &sizes[0], &sizes[1], &sizes[2], &sizes[3], &tapsAt,
                                      &sizes[4]));
    EXPECT_EQ(sizes[1], 3);
    EXPECT_EQ(taps[1], 2);
    int8_t bytes[3] = {};
    int8_t* bytesAt = bytes;
    EXPECT_OK(CALL(QuibGetConvKernelChar)(xKernel, &sizes[0], &sizes[1], &sizes[2], &sizes[3],
                                          &bytesAt, &sizes[4]));
    EXPECT_EQ(sizes[0], 3);
    EXPECT_EQ(bytes[1], 2);

    IplImage* src = make(6, 6, 8, 12);
    IplImage* convolved = nullptr;
    EXPECT_OK(CALL(QuibConvolve2D)(src, &convolved, &xKernel, 1, 0));
    expectAll(own(convolved), 6, 6, 12, 1);
    IplImage* twice = nullptr;
    EXPECT_OK(CALL(QuibConvolveSep2D)(src, &twice, xKernel, yKernel));
    expectAll(own(twice), 6, 6, 12, 1);
    EXPECT_OK(CALL(QuibDeleteConvKernel)(xKernel));
    EXPECT_OK(CALL(QuibDeleteConvKernel)(yKernel));
}

void EveryFunction::expectFilters()
{
    IplImage* src = make(6, 6, 8, 12);
    IplImage* results[5] = {};
    EXPECT_OK(CALL(QuibMaxFilter)(src, &results[0], 3, 3, 1, 1));
    EXPECT_OK(CALL(QuibMinFilter)(src, &results[1], 3, 3, 1, 1));
    EXPECT_OK(CALL(QuibMedianFilter)(src, &results[2], 3, 3, 1, 1));
    EXPECT_OK(CALL(QuibBlur)(src, &results[3], 3, 3, 1, 1));
    EXPECT_OK(CALL(QuibFixedFilter)(src, &results[4], 6));
    for (IplImage* result : results)
        expectAll(own(result), 6, 6, 12, 1);
    IplImage* blurred = make(6, 6, 8, 0);
    EXPECT_OK(CALL(QuibDecimateBlur)(src, blurred, 0, 3, 3));
    expectAll(blurred, 6, 6, 12, 1);

    IplImage* coloured = make(6, 6, 24, 0);
    std::memset(coloured->imageData, 9, static_cast<size_t>(coloured->imageSize));
    IplImage* median = nullptr;
    EXPECT_OK(CALL(QuibColorMedianFilter)(coloured, &median, 3, 3, 1, 1));
    expectAll(own(median), 6, 6, 0x090909, 1);
}

} // namespace

TEST_F(EveryFunction, IsCalledByItsName)
{
    expectHandles();
    expectInterchange();
    expectFiles();
    expectTransfer();
    expectComposition();
    expectSurfaces();
    expectWarps();
    expectTone();
    expectGray();
    expectArithmetic();
    expectLogic();
    expectKernels();
    expectFilters();
    const std::set<std::string> exported(std::begin(exportedNames), std::end(exportedNames));
    EXPECT_EQ(called, exported);
    EXPECT_EQ(called.size(), 79u);
}
