// Filters with arbitrary windows, kernels, regions, masks and borders, on handles and on
// records of all depths: the exported functions, and the engine's in place and into other
// images. The first bytes choose the function and the images, then come regions and
// numbers.
#include "fuzz/pictures.h"

namespace
{

// The place in a window of such a size.
int32_t anchorFrom(FuzzInput& input, int32_t most)
{
    return std::max(input.size(most), -1) - 1;
}

// --- Kernels -------------------------------------------------------------------------

constexpr int32_t mostTaps = 7;

// Null where none can be made; frees it.
class Kernel
{
public:
    Kernel(FuzzInput& input, bool isRow, bool isColumn)
    {
        // Its array has to have all taps that it says.
        const int32_t nCols = isColumn ? 1 : sizeFrom(input);
        const int32_t nRows = isRow ? 1 : sizeFrom(input);
        int32_t values[mostTaps * mostTaps];
        int8_t bytes[mostTaps * mostTaps];
        const bool large = input.rarely(4);
        for (int32_t i = 0; i < nCols * nRows; ++i) {
            bytes[i] = static_cast<int8_t>(input.byte());
            values[i] = large ? input.word() : bytes[i] / 16;
        }
        const int32_t anchorX = std::min(anchorFrom(input, mostTaps), nCols - 1);
        const int32_t anchorY = std::min(anchorFrom(input, mostTaps), nRows - 1);
        const int32_t shift = static_cast<int8_t>(input.byte()) / 4;
        if (input.choose(2))
            QuibCreateConvKernel(&kernel, nCols, nRows, anchorX, anchorY, values, shift);
        else
            QuibCreateConvKernelChar(&kernel, nCols, nRows, anchorX, anchorY, bytes, shift);
        readBack();
    }
    ~Kernel() { QuibDeleteConvKernel(kernel); }
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;

    OwnConvKernel* kernel = nullptr;

private:
    static int32_t sizeFrom(FuzzInput& input)
    {
        const int32_t size = 3 + input.below(mostTaps + 2);
        return size <= mostTaps ? size : size - mostTaps - 2;
    }
    void readBack() const
    {
        int32_t numbers[5];
        int32_t values[mostTaps * mostTaps];
        int8_t bytes[mostTaps * mostTaps];
        int32_t* out = values;
        int8_t* outBytes = bytes;
        if (!kernel)
            return;
        QuibGetConvKernel(kernel, &numbers[0], &numbers[1], &numbers[2], &numbers[3], &out,
                          &numbers[4]);
        QuibGetConvKernelChar(kernel, &numbers[0], &numbers[1], &numbers[2], &numbers[3], &outBytes,
                              &numbers[4]);
    }
};

// Where results go: mostly to the destination, else to the source itself or, in a record of
// its own, to the source's pixels at other places.
class Target
{
public:
    Target(FuzzInput& input, const FuzzPicture& src, const FuzzPicture& dst) : shared(*src.image)
    {
        const uint32_t choice = input.byte();
        shared.roi = dst.image->roi;
        shared.maskROI = dst.image->maskROI;
        image = choice % 4 != 3 ? dst.image : choice < 128 ? src.image : &shared;
    }

    IplImage* image;

private:
    IplImage shared;
};

void convolve(FuzzInput& input, FuzzPicture& src, FuzzPicture& dst)
{
    Kernel first(input, false, false);
    Kernel second(input, false, false);
    OwnConvKernel* kernels[11];
    for (int32_t i = 0; i < 11; ++i)
        kernels[i] = (i & 1 ? second : first).kernel;
    constexpr int32_t counts[] = {1, 1, 1, 2, 2, 3, 10, 11, 0};
    const int32_t count = counts[input.choose(std::size(counts))];
    const int32_t method = static_cast<int32_t>(input.choose(6));
    FuzzMade made;
    if (input.choose(2))
        QuibConvolve2D(src.image, &made.image, kernels, count, method);
    else
        iplConvolve2D(src.image, Target(input, src, dst).image, kernels, count, method);
}

void convolveSeparably(FuzzInput& input, FuzzPicture& src, FuzzPicture& dst)
{
    Kernel row(input, !input.rarely(8), false);
    Kernel column(input, false, !input.rarely(8));
    FuzzMade made;
    if (input.choose(2))
        QuibConvolveSep2D(src.image, &made.image, row.kernel, column.kernel);
    else
        iplConvolveSep2D(src.image, dst.image, input.rarely(4) ? nullptr : row.kernel,
                         input.rarely(4) ? nullptr : column.kernel);
}

// --- Windows -------------------------------------------------------------------------

struct Window {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
};

Window windowFrom(FuzzInput& input, int32_t most)
{
    Window window{input.size(most), input.size(most), 0, 0};
    // Mostly inside.
    window.anchorX = anchorFrom(input, most);
    window.anchorY = anchorFrom(input, most);
    if (!input.rarely(4)) {
        window.anchorX = std::clamp(window.anchorX, 0, std::max(window.nCols, 1) - 1);
        window.anchorY = std::clamp(window.anchorY, 0, std::max(window.nRows, 1) - 1);
    }
    return window;
}

using SurfaceFilter = QuibStatus (*)(const IplImage*, IplImage**, int32_t, int32_t, int32_t,
                                     int32_t);
using EngineFilter = void (*)(const IplImage*, IplImage*, int32_t, int32_t, int32_t, int32_t);

// Whether it is legal and merely takes too long for thousands of times. Where memory does
// not reach for the rows of a window, it is worth a try.
bool isSlow(const Window& window, int64_t manyElements)
{
    const int64_t elements = static_cast<int64_t>(window.nCols) * window.nRows;
    return window.nCols > 0 && window.nRows > 0 && elements > manyElements &&
           elements < int64_t{1} << 26;
}

template<SurfaceFilter onSurface, EngineFilter inEngine, int32_t most, int64_t manyElements>
void filterWindows(FuzzInput& input, FuzzPicture& src, FuzzPicture& dst)
{
    const Window w = windowFrom(input, most);
    FuzzMade made;
    if (isSlow(w, manyElements))
        return;
    if (input.choose(2))
        onSurface(src.image, &made.image, w.nCols, w.nRows, w.anchorX, w.anchorY);
    else
        inEngine(src.image, Target(input, src, dst).image, w.nCols, w.nRows, w.anchorX, w.anchorY);
}

void filterFixed(FuzzInput& input, FuzzPicture& src, FuzzPicture& dst)
{
    const int32_t filter = static_cast<int32_t>(input.choose(13)) - 1;
    FuzzMade made;
    if (input.choose(2))
        QuibFixedFilter(src.image, &made.image, filter);
    else
        iplFixedFilter(src.image, dst.image, filter);
}

void decimateBlur(FuzzInput& input, FuzzPicture& src, FuzzPicture& dst)
{
    const int32_t interpolate = static_cast<int32_t>(input.choose(5)) - 1;
    const int32_t xMaskSize = input.size(9);
    const int32_t yMaskSize = input.size(9);
    if (isSlow({xMaskSize, yMaskSize, 0, 0}, 4096))
        return;
    // A copy takes the source's size for the destination's.
    if (input.choose(2) && dst.image->imageSize >= src.image->imageSize) {
        QuibDecimateBlur(src.image, dst.image, interpolate, xMaskSize, yMaskSize);
        return;
    }
    const int32_t xDst = input.size(4);
    const int32_t yDst = input.size(4);
    const int32_t xSrc = input.rarely(4) ? xDst : input.size(9);
    const int32_t ySrc = input.rarely(4) ? yDst : input.size(9);
    iplDecimateBlur(src.image, dst.image, xDst, xSrc, yDst, ySrc, interpolate, xMaskSize,
                    yMaskSize);
}

constexpr void (*operations[])(FuzzInput& input, FuzzPicture& src, FuzzPicture& dst) = {
    convolve,
    convolveSeparably,
    filterWindows<QuibBlur, iplBlur, 12, 4096>,
    filterFixed,
    filterWindows<QuibMaxFilter, iplMaxFilter, 12, 4096>,
    filterWindows<QuibMinFilter, iplMinFilter, 12, 4096>,
    filterWindows<QuibMedianFilter, iplMedianFilter, 9, 128>,
    filterWindows<QuibColorMedianFilter, iplColorMedianFilter, 4, 32>,
    decimateBlur,
    filterWindows<QuibBlur, iplBlur, 12, 4096>,
};

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    useLevelFrom(input);
    const auto operation = operations[input.choose(std::size(operations))];
    const FuzzFormat format = formatFrom(input);
    FuzzPicture src(input, format);
    // Mostly of the same format.
    FuzzPicture dst(input, input.rarely(6) ? formatFrom(input) : format);
    iplSetStatus(input.rarely(32) ? IPL_StsError : 0);
    operation(input, src, dst);
}
