#include "tests/everycall/scene.h"

namespace
{

// Arrays of arguments.
constexpr double slant[3][3] = {{0.8, 0.3, 1}, {-0.2, 0.9, 4}, {0.004, 0.003, 1}};
constexpr double convex[4][2] = {{1, 2}, {17, 0.5}, {19, 14}, {3, 15.5}};
constexpr double concave[4][2] = {{1, 1}, {18, 2}, {6, 6}, {2, 15}};
constexpr int32_t rowTaps[3] = {1, 2, 1};
constexpr int8_t columnTaps[3] = {1, 2, 1};

#define CALL(name, ...)                                                                            \
    {                                                                                              \
#name, [](Scene & s) { s.note(name(__VA_ARGS__)); }                                        \
    }

constexpr EveryCall handleCalls[] = {
    CALL(QuibCreate, 9, 5, s.a->nChannels == 1 ? 8 : 32, s.out(), 0x80402010u),
    {"QuibCreate0", [](Scene& s) { s.note(QuibCreate0(9, 5, 24, s.out())); }, true},
    {"QuibFree",
     [](Scene& s) {
         IplImage** const out = s.out();
         s.note(QuibCreate(4, 4, 32, out, 0));
         if (*out)
             s.note(QuibFree(out));
     }},
    {"QuibGetInfo",
     [](Scene& s) {
         QuibInfo info{};
         s.note(QuibGetInfo(s.a, &info));
         s.note(info.width * 100 + info.bitDepth);
     }},
    {"QuibLockData",
     [](Scene& s) {
         void* data = nullptr;
         s.note(QuibLockData(s.a, &data));
         s.note(data == s.a->imageData);
     }},
    CALL(QuibUnlockData, s.a),
    {"QuibFillColor",
     [](Scene& s) {
         QuibRect rect{2, 3, 11, 9};
         s.note(QuibFillColor(s.a, 0x33557799u, &rect));
         s.note(QuibFillColor(s.b, 1, nullptr));
     }},
    {"QuibIsBlack",
     [](Scene& s) {
         int32_t result = -1;
         s.note(QuibIsBlack(s.a, 250, &result));
         s.note(result);
     }},
    {"QuibCopy",
     [](Scene& s) {
         s.note(QuibCopy(s.a, s.out()));
         s.note(QuibCopy(s.a, &s.b));
     }},
    CALL(QuibClone, s.a, s.out()),
};

constexpr EveryCall transferCalls[] = {
    CALL(QuibBlt, s.a, 1, 1, 14, 12, s.b, 3, 2, 16, 13, 0),
    CALL(QuibBlt, s.a, 0, 0, 20, 16, s.smaller, 0, 0, 8, 7, 1),
    CALL(QuibBlt_PANZOOM, s.a, 0.7, 0.45, 1.1, 0.6, s.b, 0, 18, 0, 15, 0),
    CALL(QuibBlt_PANZOOM, s.a, 0.7, 0.45, 1.1, 0.6, s.b, 0, 18, 0, 15, 1),
    CALL(QuibBlt_PANZOOM, s.pixels, 0.2, 1.4, 0.1, 1.2, s.others, 0, 13, 0, 12, 2),
    CALL(QuibResize, s.a, s.smaller, STRETCH_NEAREST),
    CALL(QuibResize, s.a, s.smaller, STRETCH_LINEAR),
    CALL(QuibResize, s.smaller, s.a, STRETCH_SMOOTH),
    CALL(QuibResize, s.smaller, s.a, STRETCH_PAIRS_NEAREST),
    CALL(QuibResize, s.pixels, s.others, STRETCH_PAIRS_LINEAR),
    CALL(QuibResize, s.a, s.smaller, IPL_INTER_SUPER),
    CALL(QuibResizeFit, s.a, s.smaller, IPL_INTER_NN),
    CALL(QuibResizeFit, s.smaller, s.a, IPL_INTER_LINEAR),
    CALL(QuibResizeFit, s.smaller, s.a, IPL_INTER_CUBIC),
    CALL(QuibResizeFit, s.a, s.smaller, IPL_INTER_SUPER),
    CALL(QuibFlip, s.a, s.b, -1),
    CALL(QuibFlip, s.a, s.a, 0),
    CALL(QuibFlip, s.a, s.a, 1),
    CALL(QuibRotate, s.a, s.b, 90, 10, 8, IPL_INTER_NN),
    CALL(QuibRotate, s.a, s.b, 33.5, 10, 8, IPL_INTER_CUBIC | IPL_SMOOTH_EDGE),
    CALL(QuibInterlace, s.a, 0),
    CALL(QuibInterlace, s.b, 1),
    CALL(QuibUnInterlace, s.a, s.b, s.out()),
};

constexpr EveryCall layerCalls[] = {
    CALL(QuibComposition1, s.pixels, s.others, s.out(), nullptr, nullptr, nullptr, 0, 0, 0),
    CALL(QuibComposition1, s.pixels, s.others, s.out(), nullptr, nullptr, nullptr, 4, 1, 1),
    {"QuibComposition1",
     [](Scene& s) {
         QuibRect rects[3] = {{1, 1, 9, 9}, {3, 2, 15, 12}, {0, 4, 11, 11}};
         s.note(QuibComposition1(s.pixels, s.others, s.out(), &rects[0], &rects[1], &rects[2], 3, 0,
                                 0));
     }},
    CALL(QuibComposition2, s.pixels, s.others, 200, 90, s.out(), nullptr, nullptr, nullptr, 5),
    CALL(QuibComposition3, s.pixels, s.others, s.out()),
    CALL(QuibComposition3, s.pixels, s.others, &s.others),
    {"QuibComposition4",
     [](Scene& s) {
         const QuibPoint position{2, -3};
         const QuibRect rect{1, 1, 15, 12};
         s.note(QuibComposition4(s.pixels, s.others, &position, &rect));
     }},
    CALL(QuibComposition_s, s.pixels, s.others, &s.others),
    // Some processors leave the alphas as they are, which are undefined then.
    {"QuibComposition_s", [](Scene& s) { s.note(QuibComposition_s(s.pixels, s.others, s.out())); },
     true},
    {"QuibSetAlphaS",
     [](Scene& s) {
         QuibRect rect{4, 1, 15, 12};
         s.note(QuibSetAlphaS(s.pixels, &rect, 77));
         s.note(QuibSetAlphaS(s.others, nullptr, 12));
     }},
    CALL(QuibSetAlpha, s.pixels, s.plane, 60),
};

constexpr EveryCall interchangeCalls[] = {
    CALL(Dib2Quib, s.dib24, s.out(), 32),
    CALL(Dib2Quib, s.dib24, s.out(), 8),
    CALL(Dib2Quib, s.dib8, s.out(), 0),
    CALL(Dib2Quib, s.dib8, s.out(), 32),
    {"Dib2Quib0",
     [](Scene& s) {
         const uint8_t* block = static_cast<const uint8_t*>(GlobalLock(s.dib8));
         s.note(Dib2Quib0(block, block + sizeof(BITMAPINFOHEADER), s.out()));
         GlobalUnlock(s.dib8);
     }},
    CALL(Quib2Dib, s.pixels, s.dib24),
    CALL(Quib2Dib, s.bits, s.dib8),
    CALL(QuibLoadBMP, QUIB_IMAGE_FOLDER "cup.bmp", s.out()),
    {"QuibLoadFramePsd2Bmp",
     [](Scene& s) {
         IplImage** const image = s.out();
         s.note(QuibLoadFramePsd2Bmp(QUIB_PSD_FOLDER "agpsd_runs.psd", image, s.out()));
     }},
    {"QuibLoadFramePsd2Bmp",
     [](Scene& s) {
         IplImage** const image = s.out();
         s.note(QuibLoadFramePsd2Bmp(QUIB_PSD_FOLDER "agpsd_deflated.psd", image, s.out()));
     }},
    CALL(QuibDrawToHDC, s.a, s.context, 3, -2),
    CALL(Quib2Surface, s.pixels, s.surface.get()),
    CALL(Quib2Surface7, s.pixels, s.newer.get()),
    CALL(Surface2Quib, s.surface.get(), s.pixels),
    CALL(QuibToSurf_16, s.pixels, s.surface16.get(), 1),
};

constexpr EveryCall warpCalls[] = {
    CALL(QUIBRotate3D, 37, s.pixels, s.out(), 1),
    CALL(QUIBRotate3D, 37, s.pixels, s.out(), 3),
    CALL(QUIBWarpAffine, s.pixels, s.out(), slant, IPL_INTER_LINEAR),
    CALL(QUIBWarpAffine, s.a, s.out(), slant, IPL_INTER_NN | IPL_SMOOTH_EDGE),
    CALL(QUIBWarpPerspective, s.pixels, s.out(), slant, 0, IPL_INTER_CUBIC),
    CALL(QUIBWarpPerspective, s.pixels, s.out(), slant, 1, IPL_INTER_NN),
    CALL(QUIBWarpPerspectiveQ, s.a, &s.b, convex, IPL_INTER_LINEAR, false),
    CALL(QUIBWarpPerspectiveQ, s.pixels, s.out(), convex, IPL_INTER_CUBIC, true),
    CALL(QUIBWarpPerspectiveQ, s.pixels, s.out(), concave, IPL_INTER_NN, false),
    CALL(QUIBWarpPerspectiveQ_, s.pixels, s.out(), convex, IPL_INTER_NN, false),
    {"QUIBGetPerspectiveQuad",
     [](Scene& s) {
         double quad[4][2] = {};
         s.note(QUIBGetPerspectiveQuad(s.a, slant, quad));
         s.note(static_cast<int64_t>(quad[2][1] * 1e6));
     }},
    {"QUIBPerspectiveTransform",
     [](Scene& s) {
         double coeffs[3][3] = {};
         s.note(QUIBPerspectiveTransform(s.a, coeffs, convex));
         s.note(static_cast<int64_t>(coeffs[1][1] * 1e6));
     }},
};

constexpr EveryCall toneCalls[] = {
    // The alphas of a new handle are undefined.
    {"QuibBrightnessAndContrast",
     [](Scene& s) { s.note(QuibBrightnessAndContrast(s.pixels, s.out(), 20, -10, 0)); }, true},
    CALL(QuibBrightnessAndContrast, s.pixels, &s.others, 20, 10, 2),
    {"QuibHueAndSaturation",
     [](Scene& s) { s.note(QuibHueAndSaturation(s.pixels, s.out(), 75, 20)); }, true},
    CALL(QuibHueAndSaturation, s.pixels, &s.others, 75, 20),
    CALL(QuibColorToGray, s.pixels, s.out()),
    CALL(QuibBitonalToGray, s.bits, s.out(), 17, 201),
    CALL(QuibColorConversion, s.a, s.b),
};

constexpr EveryCall pixelCalls[] = {
    CALL(QuibAddS, s.a, s.out(), 17),
    CALL(QuibMultiplyS, s.a, s.out(), 3),
    CALL(QuibMultiplySScale, s.a, s.out(), 99),
    CALL(QuibSquare, s.a, s.out()),
    CALL(QuibAbs, s.a, s.out()),
    CALL(QuibAdd, s.a, s.b, s.out()),
    CALL(QuibSubtract, s.a, s.b, s.out()),
    CALL(QuibMultiply, s.a, s.b, s.out()),
    CALL(QuibMultiplyScale, s.a, s.b, s.out()),
    CALL(QuibLShiftS, s.a, s.out(), 2),
    CALL(QuibRShiftS, s.a, s.out(), 3),
    CALL(QuibNot, s.a, s.out()),
    CALL(QuibAndS, s.a, s.out(), 0x3C),
    CALL(QuibOrS, s.a, s.out(), 0x81),
    CALL(QuibXorS, s.a, s.out(), 0x55),
    CALL(QuibAnd, s.a, s.b, s.out()),
    CALL(QuibOr, s.a, s.b, s.out()),
    CALL(QuibXor, s.a, s.b, s.out()),
};

constexpr EveryCall filterCalls[] = {
    CALL(QuibCreateConvKernel, s.outKernel(), 3, 1, 1, 0, rowTaps, 2),
    CALL(QuibCreateConvKernelChar, s.outKernel(), 1, 3, 0, 1, columnTaps, 2),
    {"QuibGetConvKernel",
     [](Scene& s) {
         int32_t sizes[5] = {};
         int32_t taps[9] = {};
         int32_t* at = taps;
         s.note(QuibGetConvKernel(s.square, &sizes[0], &sizes[1], &sizes[2], &sizes[3], &at,
                                  &sizes[4]));
         s.note(taps[4] * 100 + sizes[4]);
     }},
    {"QuibGetConvKernelChar",
     [](Scene& s) {
         int32_t sizes[5] = {};
         int8_t taps[9] = {};
         int8_t* at = taps;
         s.note(QuibGetConvKernelChar(s.down, &sizes[0], &sizes[1], &sizes[2], &sizes[3], &at,
                                      &sizes[4]));
         s.note(taps[1] * 100 + sizes[4]);
     }},
    {"QuibDeleteConvKernel",
     [](Scene& s) {
         s.note(QuibDeleteConvKernel(s.square));
         s.square = nullptr;
     }},
    CALL(QuibConvolve2D, s.a, s.out(), &s.square, 1, 0),
    {"QuibConvolve2D",
     [](Scene& s) {
         OwnConvKernel* const pair[2] = {s.square, s.square};
         s.note(QuibConvolve2D(s.a, s.out(), pair, 2, 2));
     }},
    CALL(QuibConvolveSep2D, s.a, s.out(), s.across, s.down),
    CALL(QuibMaxFilter, s.a, s.out(), 3, 5, 1, 2),
    CALL(QuibMaxFilter, s.a, s.out(), 9, 15, 4, 2),
    CALL(QuibMinFilter, s.a, s.out(), 3, 3, 0, 2),
    CALL(QuibMedianFilter, s.a, s.out(), 3, 3, 1, 1),
    CALL(QuibMedianFilter, s.a, s.out(), 5, 5, 2, 2),
    CALL(QuibMedianFilter, s.a, s.out(), 13, 9, 6, 4),
    CALL(QuibColorMedianFilter, s.a, s.out(), 3, 3, 1, 1),
    CALL(QuibBlur, s.a, s.out(), 5, 3, 2, 1),
    CALL(QuibDecimateBlur, s.a, s.smaller, IPL_INTER_NN, 3, 3),
    CALL(QuibFixedFilter, s.a, s.out(), 2),
    CALL(QuibFixedFilter, s.a, s.out(), 7),
    CALL(QuibFixedFilter, s.a, s.out(), 9),
};

#undef CALL

constexpr size_t callCount = std::size(handleCalls) + std::size(transferCalls) +
                             std::size(layerCalls) + std::size(interchangeCalls) +
                             std::size(warpCalls) + std::size(toneCalls) + std::size(pixelCalls) +
                             std::size(filterCalls);

struct AllCalls {
    EveryCall calls[callCount];
    size_t count = 0;

    constexpr AllCalls() : calls{}
    {
        add(handleCalls);
        add(transferCalls);
        add(layerCalls);
        add(interchangeCalls);
        add(warpCalls);
        add(toneCalls);
        add(pixelCalls);
        add(filterCalls);
    }
    template<size_t n>
    constexpr void add(const EveryCall (&family)[n])
    {
        for (const EveryCall& call : family)
            calls[count++] = call;
    }
};

constexpr AllCalls allCalls;

} // namespace

std::span<const EveryCall> everyCall()
{
    return allCalls.calls;
}
