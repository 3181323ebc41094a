// Filters with arbitrary windows, kernels, regions, masks and borders, on handles and on
// records of all depths: the exported functions, and the engine's in place and into other
// images. The first bytes choose the function and the images, then come regions and
// numbers.
#include "fuzz/fuzz.h"

#include "quibtool/quibtool.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr size_t choiceBytes = 64;
constexpr size_t numberBytes = 128;
constexpr size_t inputBytes = choiceBytes + numberBytes;

struct Input {
    FuzzChoices choices;
    const uint8_t* numbers; // read again and again
    size_t next = 0;

    uint8_t byte() { return numbers[next++ % numberBytes]; }
    int32_t word()
    {
        uint32_t value = 0;
        for (int32_t i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return static_cast<int32_t>(value);
    }
    // Mostly from 1 to `most`, now and then what no window has.
    int32_t size(int32_t most)
    {
        constexpr int32_t odd[] = {0, -1, INT32_MAX, INT32_MIN, 300, 65536};
        const uint32_t choice = choices.choose(32);
        if (choice < std::size(odd))
            return odd[choice];
        return static_cast<int32_t>(choice) % most + 1;
    }
    // The place in a window of such a size.
    int32_t anchor(int32_t most) { return std::max(size(most), -1) - 1; }
};

// --- Images --------------------------------------------------------------------------

struct Format {
    uint32_t depth;
    int32_t channels;
    int32_t alphaChannel;
    int32_t dataOrder;
};

Format formatFrom(Input& input)
{
    constexpr uint32_t depths[] = {IPL_DEPTH_8U,  IPL_DEPTH_8U,  IPL_DEPTH_1U,  IPL_DEPTH_8S,
                                   IPL_DEPTH_16U, IPL_DEPTH_16S, IPL_DEPTH_32S, IPL_DEPTH_32F};
    Format format{depths[input.choices.choose(8)], 1, 0, 0};
    if (format.depth != IPL_DEPTH_1U)
        format.channels = 1 + static_cast<int32_t>(input.choices.choose(5));
    if (input.choices.choose(4) == 0)
        format.alphaChannel = format.channels;
    format.dataOrder = static_cast<int32_t>(input.choices.choose(2));
    return format;
}

void fillFrom(Input& input, IplImage* image)
{
    for (int32_t i = 0; i < image->imageSize; ++i)
        image->imageData[i] = static_cast<char>(input.byte());
}

IplImage* makeImage(Input& input, const Format& format)
{
    IplImage* image = iplCreateImageHeader(
        format.channels, format.alphaChannel, format.depth, "RGBA", "BGRA", format.dataOrder,
        static_cast<int32_t>(input.choices.choose(8) == 0), 4 << input.choices.choose(4),
        1 + static_cast<int32_t>(input.choices.choose(24)),
        1 + static_cast<int32_t>(input.choices.choose(12)), nullptr, nullptr, nullptr, nullptr);
    if (format.depth == IPL_DEPTH_32F)
        iplAllocateImageFP(image, 0, 0.0f);
    else
        iplAllocateImage(image, 0, 0);
    fillFrom(input, image);
    return image;
}

IplROI* regionFrom(Input& input, const IplImage* image)
{
    const uint32_t kind = input.choices.choose(4);
    if (kind > 1)
        return nullptr;
    if (kind == 1)
        return iplCreateROI(static_cast<int32_t>(input.byte() % 6), input.word(), input.word(),
                            input.word(), input.word());
    return iplCreateROI(static_cast<int32_t>(input.byte() % 4), input.byte() % image->width,
                        input.byte() % image->height, 1 + input.byte() % 24, 1 + input.byte() % 12);
}

// With a region, a mask and borders of any kind; frees them all.
class Picture
{
public:
    Picture(Input& input, const Format& format) : image(makeImage(input, format))
    {
        image->roi = regionFrom(input, image);
        if (input.choices.choose(3) == 0) {
            image->maskROI = makeImage(input, {IPL_DEPTH_1U, 1, 0, 0});
            image->maskROI->roi = regionFrom(input, image->maskROI);
        }
        for (int32_t side = 0; side < 4; ++side) {
            image->BorderMode[side] = input.word();
            image->BorderConst[side] = input.word();
        }
    }
    ~Picture() { iplDeallocate(image, IPL_IMAGE_ALL); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    IplImage* const image;
};

// What an operation makes.
struct Made {
    Made() = default;
    ~Made() { iplDeallocate(image, IPL_IMAGE_ALL); }
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;

    IplImage* image = nullptr;
};

// --- Kernels -------------------------------------------------------------------------

constexpr int32_t mostTaps = 7;

// Null where none can be made; frees it.
class Kernel
{
public:
    Kernel(Input& input, bool isRow, bool isColumn)
    {
        // Its array has to have all taps that it says.
        const int32_t nCols = isColumn ? 1 : sizeFrom(input);
        const int32_t nRows = isRow ? 1 : sizeFrom(input);
        int32_t values[mostTaps * mostTaps];
        int8_t bytes[mostTaps * mostTaps];
        const bool large = input.choices.choose(4) == 0;
        for (int32_t i = 0; i < mostTaps * mostTaps; ++i) {
            bytes[i] = static_cast<int8_t>(input.byte());
            values[i] = large ? input.word() : bytes[i] / 16;
        }
        const int32_t anchorX = std::min(input.anchor(mostTaps), nCols - 1);
        const int32_t anchorY = std::min(input.anchor(mostTaps), nRows - 1);
        const int32_t shift = static_cast<int8_t>(input.byte()) / 4;
        if (input.choices.choose(2))
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
    static int32_t sizeFrom(Input& input)
    {
        return static_cast<int32_t>(input.choices.choose(mostTaps + 2)) - 1;
    }
    void readBack() const
    {
        int32_t numbers[5];
        int32_t values[mostTaps * mostTaps];
        int32_t* out = values;
        if (kernel)
            QuibGetConvKernel(kernel, &numbers[0], &numbers[1], &numbers[2], &numbers[3], &out,
                              &numbers[4]);
    }
};

void convolve(Input& input, Picture& src, Picture& dst)
{
    Kernel first(input, false, false);
    Kernel second(input, false, false);
    OwnConvKernel* kernels[11];
    for (int32_t i = 0; i < 11; ++i)
        kernels[i] = (i & 1 ? second : first).kernel;
    constexpr int32_t counts[] = {1, 1, 1, 2, 2, 3, 10, 11, 0};
    const int32_t count = counts[input.choices.choose(std::size(counts))];
    const int32_t method = static_cast<int32_t>(input.choices.choose(6));
    Made made;
    if (input.choices.choose(2))
        QuibConvolve2D(src.image, &made.image, kernels, count, method);
    else
        iplConvolve2D(src.image, (input.choices.choose(4) ? dst : src).image, kernels, count,
                      method);
}

void convolveSeparably(Input& input, Picture& src, Picture& dst)
{
    Kernel row(input, input.choices.choose(8) != 0, false);
    Kernel column(input, false, input.choices.choose(8) != 0);
    Made made;
    if (input.choices.choose(2))
        QuibConvolveSep2D(src.image, &made.image, row.kernel, column.kernel);
    else
        iplConvolveSep2D(src.image, dst.image, input.choices.choose(4) ? row.kernel : nullptr,
                         input.choices.choose(4) ? column.kernel : nullptr);
}

// --- Windows -------------------------------------------------------------------------

struct Window {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
};

Window windowFrom(Input& input, int32_t most)
{
    Window window{input.size(most), input.size(most), 0, 0};
    // Mostly inside.
    window.anchorX = input.anchor(most);
    window.anchorY = input.anchor(most);
    if (input.choices.choose(4)) {
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
void filterWindows(Input& input, Picture& src, Picture& dst)
{
    const Window w = windowFrom(input, most);
    Made made;
    if (isSlow(w, manyElements))
        return;
    if (input.choices.choose(2))
        onSurface(src.image, &made.image, w.nCols, w.nRows, w.anchorX, w.anchorY);
    else
        inEngine(src.image, (input.choices.choose(4) ? dst : src).image, w.nCols, w.nRows,
                 w.anchorX, w.anchorY);
}

void filterFixed(Input& input, Picture& src, Picture& dst)
{
    const int32_t filter = static_cast<int32_t>(input.choices.choose(13)) - 1;
    Made made;
    if (input.choices.choose(2))
        QuibFixedFilter(src.image, &made.image, filter);
    else
        iplFixedFilter(src.image, dst.image, filter);
}

void decimateBlur(Input& input, Picture& src, Picture& dst)
{
    const int32_t interpolate = static_cast<int32_t>(input.choices.choose(5)) - 1;
    const int32_t xMaskSize = input.size(9);
    const int32_t yMaskSize = input.size(9);
    if (isSlow({xMaskSize, yMaskSize, 0, 0}, 4096))
        return;
    // A copy takes the source's size for the destination's.
    if (input.choices.choose(2) && dst.image->imageSize >= src.image->imageSize) {
        QuibDecimateBlur(src.image, dst.image, interpolate, xMaskSize, yMaskSize);
        return;
    }
    const int32_t xDst = input.size(4);
    const int32_t yDst = input.size(4);
    const int32_t xSrc = input.choices.choose(4) ? input.size(9) : xDst;
    const int32_t ySrc = input.choices.choose(4) ? input.size(9) : yDst;
    iplDecimateBlur(src.image, dst.image, xDst, xSrc, yDst, ySrc, interpolate, xMaskSize,
                    yMaskSize);
}

constexpr void (*operations[])(Input& input, Picture& src, Picture& dst) = {
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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < inputBytes)
        return 0;
    startFuzzInput();
    Input input{FuzzChoices(data), data + choiceBytes};
    const auto operation = operations[input.choices.choose(std::size(operations))];
    const Format format = formatFrom(input);
    Picture src(input, format);
    // Mostly of the same format.
    Picture dst(input, input.choices.choose(4) ? format : formatFrom(input));
    operation(input, src, dst);
    return 0;
}
