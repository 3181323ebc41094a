// Warps, turns and mirrors with arbitrary numbers, rectangles and channels of
// interest: the nine exported functions and the engine behind them. The first
// bytes choose the function and the images, then come the numbers.
#include "fuzz/fuzz.h"

#include "quibtool/quibtool.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace
{

constexpr size_t choiceBytes = 16;
constexpr size_t roiBytes = 16;
constexpr size_t numberBytes = 9 * sizeof(double);
constexpr size_t inputBytes = choiceBytes + 2 * roiBytes + numberBytes;

struct Input {
    FuzzChoices choices;
    const uint8_t* rois;
    double numbers[9];
};

// Numbers of any kind, or such as pictures have: sixteenths up to some thousands.
void readNumbers(const uint8_t* bytes, bool any, double (&numbers)[9])
{
    for (double& number : numbers) {
        if (any) {
            std::memcpy(&number, bytes, sizeof number);
            bytes += sizeof number;
            continue;
        }
        int16_t sixteenths;
        std::memcpy(&sixteenths, bytes, sizeof sixteenths);
        bytes += sizeof sixteenths;
        number = sixteenths / 16.0;
    }
}

// A handle that may have a region; frees it with what an operation made.
class Handle
{
public:
    Handle() = default;
    Handle(Input& input, int32_t bitDepth)
    {
        const int32_t width = 1 + static_cast<int32_t>(input.choices.choose(64));
        const int32_t height = 1 + static_cast<int32_t>(input.choices.choose(64));
        QuibCreate(width, height, bitDepth, &image, 0x11335577);
        if (bitDepth == 24)
            std::memset(image->imageData, 0x5A, static_cast<size_t>(image->imageSize));
        const uint32_t region = input.choices.choose(4);
        if (region == 0)
            image->roi = iplCreateROI(0, 0, 0, width, height);
        else if (region == 1)
            image->roi = anyRegion(input.rois);
        if (image->roi)
            image->roi->coi = static_cast<int32_t>(input.choices.choose(6));
        input.rois += roiBytes;
    }
    ~Handle() { iplDeallocate(image, IPL_IMAGE_ALL); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    IplImage* image = nullptr;

private:
    static IplROI* anyRegion(const uint8_t* bytes)
    {
        int32_t words[4];
        std::memcpy(words, bytes, sizeof words);
        return iplCreateROI(0, words[0], words[1], words[2], words[3]);
    }
};

bool isHuge(const double (&bound)[2][2])
{
    const double width = bound[1][0] - bound[0][0];
    const double height = bound[1][1] - bound[0][1];
    return std::fabs(width) < 2e9 && std::fabs(height) < 2e9 &&
           isLegalButHuge(static_cast<int64_t>(width) + 1, static_cast<int64_t>(height) + 1);
}

int32_t interpolationFrom(Input& input)
{
    constexpr int32_t values[] = {0, 1, 2, 16, 17, 18, 3, -1};
    return values[input.choices.choose(8)];
}

void flip(Input& input, Handle& src, Handle& dst)
{
    QuibFlip(src.image, input.choices.choose(3) ? dst.image : src.image,
             static_cast<int32_t>(input.choices.choose(4)) - 1);
}

void rotate(Input& input, Handle& src, Handle& dst)
{
    double angle = input.numbers[0];
    if (input.choices.choose(2))
        angle = 90.0 * input.choices.choose(9) - 360.0;
    int32_t centre[2];
    std::memcpy(centre, &input.numbers[1], sizeof centre);
    if (input.choices.choose(4)) {
        centre[0] = centre[0] % 64;
        centre[1] = centre[1] % 64;
    }
    QuibRotate(src.image, dst.image, angle, centre[0], centre[1], interpolationFrom(input));
}

// The same numbers as two and as three rows of coefficients.
struct Coefficients {
    double affine[2][3];
    double perspective[3][3];

    explicit Coefficients(const Input& input)
    {
        std::memcpy(affine, input.numbers, sizeof affine);
        std::memcpy(perspective, input.numbers, sizeof perspective);
    }
};

void turn(Input& input, Handle& src, Handle&)
{
    Handle made;
    QUIBRotate3D(input.numbers[0], src.image, &made.image,
                 static_cast<int32_t>(input.choices.choose(5)));
}

void warpAffine(Input& input, Handle& src, Handle&)
{
    const Coefficients coefficients(input);
    double bound[2][2] = {};
    iplGetAffineBound(src.image, coefficients.affine, bound);
    Handle made;
    if (!isHuge(bound))
        QUIBWarpAffine(src.image, &made.image, coefficients.affine, interpolationFrom(input));
}

void warpPerspective(Input& input, Handle& src, Handle&)
{
    const Coefficients coefficients(input);
    double bound[2][2] = {};
    iplGetPerspectiveBound(src.image, coefficients.perspective, bound);
    Handle made;
    if (!isHuge(bound))
        QUIBWarpPerspective(src.image, &made.image, coefficients.perspective,
                            static_cast<int32_t>(input.choices.choose(3)),
                            interpolationFrom(input));
}

void warpQuad(Input& input, Handle& src, Handle& dst)
{
    double quad[4][2];
    std::memcpy(quad, input.numbers, sizeof quad);
    const int32_t interpolate = interpolationFrom(input);
    const bool warpFlag = input.choices.choose(2);
    Handle made;
    QUIBWarpPerspectiveQ(src.image, input.choices.choose(4) ? &dst.image : &made.image, quad,
                         interpolate, warpFlag);
}

void warpQuadByEngine(Input& input, Handle& src, Handle& dst)
{
    double quad[4][2];
    std::memcpy(quad, input.numbers, sizeof quad);
    double bound[2][2] = {{quad[0][0], quad[0][1]}, {quad[0][0], quad[0][1]}};
    for (const auto& corner : quad) {
        for (int32_t i = 0; i < 2; ++i) {
            bound[0][i] = std::min(bound[0][i], corner[i]);
            bound[1][i] = std::max(bound[1][i], corner[i]);
        }
    }
    const int32_t interpolate = interpolationFrom(input);
    const bool warpFlag = input.choices.choose(2);
    Handle made;
    if (input.choices.choose(4))
        QUIBWarpPerspectiveQ_(src.image, &dst.image, quad, interpolate, warpFlag);
    else if (!isHuge(bound))
        QUIBWarpPerspectiveQ_(src.image, &made.image, quad, interpolate, warpFlag);
}

void findQuad(Input& input, Handle& src, Handle&)
{
    const Coefficients coefficients(input);
    double quad[4][2];
    QUIBGetPerspectiveQuad(src.image, coefficients.perspective, quad);
}

void findTransform(Input& input, Handle& src, Handle&)
{
    double quad[4][2];
    std::memcpy(quad, input.numbers, sizeof quad);
    double coefficients[3][3];
    QUIBPerspectiveTransform(src.image, coefficients, quad);
}

constexpr void (*operations[])(Input& input, Handle& src, Handle& dst) = {
    flip,     rotate,           turn,     warpAffine,    warpPerspective,
    warpQuad, warpQuadByEngine, findQuad, findTransform, warpQuad,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < inputBytes)
        return 0;
    startFuzzInput();
    Input input{FuzzChoices(data), data + choiceBytes, {}};
    const auto operation = operations[input.choices.choose(std::size(operations))];
    readNumbers(data + choiceBytes + 2 * roiBytes, input.choices.choose(2), input.numbers);
    constexpr int32_t depths[] = {32, 24, 8, 1};
    const int32_t bitDepth = depths[input.choices.choose(4)];
    Handle src(input, bitDepth);
    // Mostly of the same depth, now and then of the same size.
    Handle dst(input, input.choices.choose(8) ? bitDepth : 32);
    operation(input, src, dst);
    return 0;
}
