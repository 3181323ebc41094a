// Warps, turns and mirrors with arbitrary numbers, on images of all kinds: the nine exported
// functions and the engine behind them. The first bytes choose the function and the images,
// then come the numbers.
#include "fuzz/pictures.h"

#include "quibtool/startup.h"
#include "quibtool/warp/fallback.h"

#include <cmath>

namespace
{

using Corners = double[4][2];

// Of any kind, or such as small pictures have, or somewhat larger ones.
void readNumbers(FuzzInput& input, double* numbers, int32_t count)
{
    const uint32_t kind = input.choose(4);
    for (int32_t i = 0; i < count; ++i)
        numbers[i] = kind == 3 ? input.anyNumber() : input.number(kind == 2 ? 0x1p-4 : 0x1p-8);
}

// Whole and halves of coordinates come from a corner that lies in or near the image.
void readCorners(FuzzInput& input, Corners& quad)
{
    if (input.rarely(3)) {
        readNumbers(input, &quad[0][0], 8);
        return;
    }
    constexpr double start[4][2] = {{0, 0}, {24, 0}, {24, 12}, {0, 12}};
    const uint32_t turned = input.choose(8);
    for (int32_t i = 0; i < 4; ++i) {
        const int32_t from = turned < 4 ? (i + static_cast<int32_t>(turned)) % 4 : 7 - i;
        for (int32_t k = 0; k < 2; ++k)
            quad[i][k] = start[from % 4][k] + static_cast<int8_t>(input.byte()) * 0.125;
    }
}

// Whether a picture of this bound is legal and takes too long for thousands of times.
bool isHuge(const double (&bound)[2][2])
{
    constexpr double manyPixels = 4096;
    const double width = bound[1][0] - bound[0][0];
    const double height = bound[1][1] - bound[0][1];
    return std::fabs(width) < 2e9 && std::fabs(height) < 2e9 &&
           (std::fabs(width) + 1) * (std::fabs(height) + 1) > manyPixels &&
           (std::fabs(width) + 1) * (std::fabs(height) + 1) * 4 < 4e9;
}

int32_t interpolationFrom(FuzzInput& input)
{
    constexpr int32_t values[] = {0, 1, 2, 16, 17, 18, 3, -1};
    return values[input.choose(8)];
}

// A row of coefficients more than an affine transform has.
struct Coefficients {
    double rows[3][3];

    explicit Coefficients(FuzzInput& input)
    {
        readNumbers(input, &rows[0][0], 9);
        if (input.rarely(4))
            return;
        // Near to leaving all as it is.
        for (int32_t i = 0; i < 9; ++i)
            (&rows[0][0])[i] *= i % 4 == 2 || i == 5 ? 0.125 : i < 6 ? 0x1p-5 : 0x1p-11;
        for (int32_t i = 0; i < 3; ++i)
            rows[i][i] += 1;
    }
};

// --- Operations ------------------------------------------------------------------------

using Picture = FuzzPicture;

void flip(FuzzInput& input, Picture& src, Picture& dst)
{
    IplImage* to = (input.choose(3) ? dst : src).image;
    const int32_t axis = input.below(4) - 1;
    if (input.choose(2))
        QuibFlip(src.image, to, axis);
    else
        iplMirror(src.image, to, axis);
}

double angleFrom(FuzzInput& input)
{
    double angle = 90.0 * input.choose(9) - 360.0;
    if (input.choose(2))
        readNumbers(input, &angle, 1);
    return angle;
}

void rotate(FuzzInput& input, Picture& src, Picture& dst)
{
    const double angle = angleFrom(input);
    double shifts[2];
    const int32_t interpolate = interpolationFrom(input);
    if (input.choose(2)) {
        const int32_t x = input.rarely(4) ? input.word() : input.below(32);
        const int32_t y = input.rarely(4) ? input.word() : input.below(32);
        QuibRotate(src.image, dst.image, angle, x, y, interpolate);
        return;
    }
    readNumbers(input, shifts, 2);
    if (input.choose(2))
        iplGetRotateShift(input.below(32), input.below(32), angle, &shifts[0], &shifts[1]);
    if (input.choose(2))
        shifts[0] = std::round(shifts[0]), shifts[1] = std::round(shifts[1]);
    iplRotate(src.image, dst.image, angle, shifts[0], shifts[1], interpolate);
}

void turn(FuzzInput& input, Picture& src, Picture&)
{
    FuzzMade made;
    QUIBRotate3D(angleFrom(input), src.image, &made.image, input.below(5));
}

void warpAffine(FuzzInput& input, Picture& src, Picture& dst)
{
    const int32_t interpolate = interpolationFrom(input);
    const bool bySurface = input.choose(2);
    const Coefficients coefficients(input);
    double bound[2][2] = {};
    iplGetAffineBound(src.image, coefficients.rows, bound);
    FuzzMade made;
    if (!bySurface)
        iplWarpAffine(src.image, dst.image, coefficients.rows, interpolate);
    else if (!isHuge(bound))
        QUIBWarpAffine(src.image, &made.image, coefficients.rows, interpolate);
}

void warpPerspective(FuzzInput& input, Picture& src, Picture& dst)
{
    const int32_t interpolate = interpolationFrom(input);
    const int32_t warpFlag = input.below(3);
    const bool bySurface = input.choose(2);
    const Coefficients coefficients(input);
    double bound[2][2] = {};
    iplGetPerspectiveBound(src.image, coefficients.rows, bound);
    FuzzMade made;
    if (!bySurface)
        iplWarpPerspective(src.image, dst.image, coefficients.rows, warpFlag, interpolate);
    else if (!isHuge(bound))
        QUIBWarpPerspective(src.image, &made.image, coefficients.rows, warpFlag, interpolate);
}

void warpQuad(FuzzInput& input, Picture& src, Picture& dst)
{
    const int32_t interpolate = interpolationFrom(input);
    const uint32_t choice = input.byte();
    const bool warpFlag = choice % 2;
    const bool makes = input.rarely(4);
    // Whether the processor counts as one that the engine's warp runs on.
    quibProcessorFlag = choice < 128;
    Corners quad;
    readCorners(input, quad);
    FuzzMade made;
    IplImage* given = dst.image;
    QUIBWarpPerspectiveQ(src.image, makes ? &made.image : &given, quad, interpolate, warpFlag);
}

void warpQuadByEngine(FuzzInput& input, Picture& src, Picture& dst)
{
    const int32_t interpolate = interpolationFrom(input);
    const bool warpFlag = input.choose(2);
    const uint32_t way = input.choose(3);
    Corners quad;
    readCorners(input, quad);
    double bound[2][2] = {{quad[0][0], quad[0][1]}, {quad[0][0], quad[0][1]}};
    for (const auto& corner : quad) {
        for (int32_t i = 0; i < 2; ++i) {
            bound[0][i] = std::min(bound[0][i], corner[i]);
            bound[1][i] = std::max(bound[1][i], corner[i]);
        }
    }
    FuzzMade made;
    IplImage* given = dst.image;
    if (way == 0)
        iplWarpPerspectiveQ(src.image, dst.image, quad, warpFlag, interpolate);
    else if (way == 1)
        QUIBWarpPerspectiveQ_(src.image, &given, quad, interpolate, warpFlag);
    else if (!isHuge(bound))
        QUIBWarpPerspectiveQ_(src.image, &made.image, quad, interpolate, warpFlag);
}

void findQuad(FuzzInput& input, Picture& src, Picture&)
{
    const Coefficients coefficients(input);
    Corners quad;
    if (input.choose(2))
        QUIBGetPerspectiveQuad(src.image, coefficients.rows, quad);
    else
        iplGetAffineQuad(src.image, coefficients.rows, quad);
}

// One scanline of a quadrangle, between rows of both pictures.
void drawScanline(FuzzInput& input, const Picture& src, const Picture& dst)
{
    uint8_t* rows[2][16];
    const IplImage* const images[2] = {dst.image, src.image};
    for (int32_t i = 0; i < 2; ++i) {
        const IplImage* image = images[i];
        if (!image->imageData || image->widthStep < image->width * 4 || image->height > 16)
            return;
        for (int32_t y = 0; y < image->height; ++y)
            rows[i][y] = reinterpret_cast<uint8_t*>(image->imageData) + y * image->widthStep;
    }
    double ends[8];
    readNumbers(input, ends, 8);
    const auto isNear = [](double end) { return std::fabs(end) < 1e4; };
    if (std::all_of(std::begin(ends), std::end(ends), isNear))
        QuibWarpQuadScan(rows[0], dst.image->width, dst.image->height, ends[0], ends[1], ends[2],
                         ends[3], rows[1], src.image->width, src.image->height, ends[4], ends[5],
                         ends[6], ends[7]);
}

void findTransform(FuzzInput& input, Picture& src, Picture& dst)
{
    Corners quad;
    readCorners(input, quad);
    double coefficients[3][3];
    QUIBPerspectiveTransform(src.image, coefficients, quad);
    drawScanline(input, src, dst);
}

constexpr void (*operations[])(FuzzInput& input, Picture& src, Picture& dst) = {
    flip,     rotate,           turn,     warpAffine,       warpPerspective,
    warpQuad, warpQuadByEngine, findQuad, warpQuadByEngine, findTransform,
};

// What warps serve.
FuzzFormat warpFormatFrom(FuzzInput& input)
{
    FuzzFormat format = formatFrom(input);
    if (!input.rarely(8) && (format.depth & IPL_DEPTH_SIGN))
        format.depth = IPL_DEPTH_8U;
    return format;
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    useLevelFrom(input);
    const auto operation = operations[input.choose(std::size(operations))];
    const FuzzFormat format = warpFormatFrom(input);
    Picture src(input, format);
    // Mostly of the same format.
    Picture dst(input, input.rarely(8) ? formatFrom(input) : format);
    iplSetStatus(input.rarely(32) ? IPL_StsError : 0);
    operation(input, src, dst);
}
