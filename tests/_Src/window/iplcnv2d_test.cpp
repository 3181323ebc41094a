#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/levels.h"
#include "tests/support/plain_convolve.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

void convolveKernels(const IplImage* src, IplImage* dst, const std::vector<PlainKernel>& kernels,
                     int32_t method)
{
    std::vector<ConvKernel> owners;
    std::vector<OwnConvKernel*> handles;
    for (const PlainKernel& kernel : kernels) {
        owners.push_back(kernel.make());
        handles.push_back(owners.back().get());
    }
    iplConvolve2D(src, dst, handles.data(), static_cast<int32_t>(handles.size()), method);
}

PlainKernel centred(int32_t nCols, int32_t nRows, const std::vector<int32_t>& values,
                    int32_t nShiftR = 0)
{
    return {nCols, nRows, nCols / 2, nRows / 2, values, nShiftR};
}

PlainKernel oneTap(int32_t value, int32_t nShiftR = 0)
{
    return {1, 1, 0, 0, {value}, nShiftR};
}

const PlainKernel sobelX = centred(3, 3, {1, 0, -1, 2, 0, -2, 1, 0, -1});
const PlainKernel sobelY = centred(3, 3, {1, 2, 1, 0, 0, 0, -1, -2, -1});

// What one element becomes, its surroundings being 0.
double convolved(uint32_t depth, double value, const std::vector<PlainKernel>& kernels,
                 int32_t method = 0)
{
    const Image src = makeImage(1, 1, 1, depth);
    const Image dst = makeImage(1, 1, 1, depth);
    putElement(src.get(), 0, 0, 0, value);
    convolveKernels(src.get(), dst.get(), kernels, method);
    return element(dst.get(), 0, 0, 0);
}

std::string describeKernels(const std::vector<PlainKernel>& kernels, int32_t method)
{
    std::string text = " method " + std::to_string(method);
    for (const PlainKernel& kernel : kernels)
        text += describe(kernel);
    return text;
}

struct RandomCall {
    std::vector<PlainKernel> kernels;
    int32_t method;
};

RandomCall randomCall(Random& random)
{
    RandomCall call{{}, random.between(0, 4)};
    const int32_t count = random.coin() ? 1 : random.coin() ? 2 : random.between(3, 10);
    for (int32_t i = 0; i < count; ++i)
        call.kernels.push_back(randomKernel(random));
    return call;
}

// The plain form's result for a destination.
void plainKernels(const IplImage* src, IplImage* dst, const RandomCall& call)
{
    const Twin source(src);
    copyBorders(source.get(), src);
    clampBorders(source.get());
    plainConvolve(plainJob(source.get(), nullptr, dst), call.kernels, call.method);
}

void expectPlainKernels(const Arrangement& images, const RandomCall& call)
{
    const Twin expected(images.dst.get());
    plainKernels(images.a.get(), expected.get(), call);
    forEachLevel([&] {
        const Twin result(images.dst.get());
        convolveKernels(images.a.get(), result.get(), call.kernels, call.method);
        ASSERT_EQ(bytesOf(result.get()), bytesOf(expected.get()))
            << images.text() << describeKernels(call.kernels, call.method);
    });
}

std::vector<Report> reportsOfKernels(const IplImage* src, IplImage* dst,
                                     OwnConvKernel* const* kernels, int32_t count, int32_t method)
{
    const RecordedReports reports;
    iplConvolve2D(src, dst, kernels, count, method);
    return reports.all();
}

std::vector<Report> onlyOfKernels(int32_t status, const std::string& text)
{
    return {{status, "iplConvolve2D", text, "iplcnv2d"}};
}

std::vector<Report> reportsOfKernels(const IplImage* src, IplImage* dst)
{
    const ConvKernel kernel = oneTap(1).make();
    OwnConvKernel* const handle = kernel.get();
    return reportsOfKernels(src, dst, &handle, 1, 0);
}

} // namespace

// --- Worked values -------------------------------------------------------------------

TEST(iplConvolve2D, MirrorsItsKernel)
{
    const Image src = makeImage(5, 5, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(5, 5, 1, IPL_DEPTH_8U);
    putElement(src.get(), 2, 2, 0, 1);
    convolveKernels(src.get(), dst.get(), {{3, 2, 0, 1, {1, 2, 3, 4, 5, 6}, 0}}, 0);
    // The tap (i, j) reads (x + anchorX - i, y + anchorY - j): the impulse becomes the
    // kernel, its anchor on the pixel.
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 5; ++x) {
            const int32_t i = x - 2;
            const int32_t j = y - 1;
            const bool inside = i >= 0 && i < 3 && j >= 0 && j < 2;
            EXPECT_EQ(element(dst.get(), x, y, 0), inside ? j * 3 + i + 1 : 0) << x << "," << y;
        }
}

TEST(iplConvolve2D, ShiftsTowardsMinusInfinity)
{
    EXPECT_EQ(convolved(IPL_DEPTH_8S, -1, {oneTap(1, 1)}), -1);
    EXPECT_EQ(convolved(IPL_DEPTH_16S, -1, {oneTap(1, 1)}), -1);
    EXPECT_EQ(convolved(IPL_DEPTH_8S, -5, {oneTap(3, 2)}), -4);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 255, {oneTap(3, 1)}), 255);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 77, {oneTap(1, -3)}), 77);
}

TEST(iplConvolve2D, LargeShiftsAreThirtyOne)
{
    for (const int32_t shift : {31, 32, 40, INT32_MAX}) {
        EXPECT_EQ(convolved(IPL_DEPTH_8S, -1, {oneTap(1, shift)}), -1);
        EXPECT_EQ(convolved(IPL_DEPTH_16S, -1, {oneTap(1, shift)}), -1);
        EXPECT_EQ(convolved(IPL_DEPTH_16U, 65535, {oneTap(1, shift)}), 0);
    }
    // 100 * 2^23 >> 30
    EXPECT_EQ(convolved(IPL_DEPTH_16S, -100, {oneTap(32768, 15)}), -100);
}

TEST(iplConvolve2D, FloatSumsTakeTheMultiplier)
{
    EXPECT_EQ(convolved(IPL_DEPTH_32S, 1000000000, {oneTap(1, 30)}), 0);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, 1000000000, {oneTap(1, 24)}), 0);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, 3, {oneTap(1, 1)}), 2);   // 1.5 to even
    EXPECT_EQ(convolved(IPL_DEPTH_32S, -3, {oneTap(1, 1)}), -2); // and not down
    EXPECT_EQ(convolved(IPL_DEPTH_32S, 7, {oneTap(1, -1)}), 7);
    // 2^30 by 0x3400d959, which is 2^-23 * (1 + 55641 / 2^23): 128.849.
    EXPECT_EQ(convolved(IPL_DEPTH_32S, 1073741824, {oneTap(1, 23)}), 129);
}

TEST(iplConvolve2D, ClassBoundsAreInclusive)
{
    // 100 * 8421504 >> 23 is 100.39; one more tap and the sum is a float, which the
    // multiplier takes to 101.06.
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 100, {oneTap(8421504, 23)}), 100);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 100, {oneTap(8421505, 23)}), 101);
}

TEST(iplConvolve2D, FloatsOf32BitsLoseTheirLowBits)
{
    EXPECT_EQ(convolved(IPL_DEPTH_32S, 16777217, {oneTap(1)}), 16777216);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, INT32_MAX, {oneTap(1)}), INT32_MAX);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, INT32_MIN, {oneTap(1)}), INT32_MIN);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, INT32_MIN, {oneTap(INT32_MAX)}), INT32_MIN);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, INT32_MIN, {oneTap(INT32_MIN)}), INT32_MAX);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, INT32_MIN, {oneTap(INT32_MIN)}, 1), INT32_MAX);
}

TEST(iplConvolve2D, CombinesByItsMethod)
{
    const std::vector<PlainKernel> two{oneTap(3), oneTap(-4)};
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 5, two, 0), 0);
    EXPECT_EQ(convolved(IPL_DEPTH_8S, 5, two, 0), -5);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 2, two, 1), 100);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 5, two, 2), 25);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 5, two, 3), 15);
    EXPECT_EQ(convolved(IPL_DEPTH_8S, 5, two, 4), -20);
    EXPECT_EQ(convolved(IPL_DEPTH_16U, 500, two, 2), 2500);
    EXPECT_EQ(convolved(IPL_DEPTH_16S, 500, two, 0), -500);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, 500, two, 1), 6250000);
    EXPECT_EQ(convolved(IPL_DEPTH_32S, -500, two, 2), 2500);
}

TEST(iplConvolve2D, OneKernelTakesItsMethodToo)
{
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 5, {oneTap(-3)}, 1), 225);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 5, {oneTap(-3)}, 2), 15);
    EXPECT_EQ(convolved(IPL_DEPTH_16U, 500, {oneTap(-3)}, 2), 1500);
    for (const int32_t method : {0, 3, 4, 9, -1, INT32_MIN})
        EXPECT_EQ(convolved(IPL_DEPTH_8U, 5, {oneTap(3)}, method), 15);
}

TEST(iplConvolve2D, RootsAreRoundedToNearest)
{
    // 1 + 1, 1 + 4 and 4 + 9; 1501 * 1502 lies just below 1501.5 squared.
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 1, {oneTap(1), oneTap(1)}, 2), 1);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 1, {oneTap(1), oneTap(2)}, 2), 2);
    EXPECT_EQ(convolved(IPL_DEPTH_8U, 1, {oneTap(2), oneTap(3)}, 2), 4);
    EXPECT_EQ(
        convolved(IPL_DEPTH_16U, 1, {oneTap(1501), oneTap(38), oneTap(7), oneTap(2), oneTap(2)}, 2),
        1501);
}

TEST(iplConvolve2D, SquaresOfTenKernelsPass32Bits)
{
    for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_8S}) {
        const std::vector<PlainKernel> kernels(10, oneTap(depth == IPL_DEPTH_8U ? 128 : -256));
        const double highest = depth == IPL_DEPTH_8U ? 255 : -128;
        EXPECT_EQ(convolved(depth, highest, kernels, 1), highOf(depth));
        EXPECT_EQ(convolved(depth, highest, kernels, 2), highOf(depth));
    }
    EXPECT_EQ(convolved(IPL_DEPTH_1U, 1, std::vector<PlainKernel>(10, oneTap(32767)), 1), 1);
    EXPECT_EQ(convolved(IPL_DEPTH_1U, 1, std::vector<PlainKernel>(10, oneTap(-32768)), 2), 1);
}

TEST(iplConvolve2D, AWindowOnOnePixelIsAllBorder)
{
    const Image src = makeImage(1, 1, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(1, 1, 1, IPL_DEPTH_8U);
    putElement(src.get(), 0, 0, 0, 7);
    const PlainKernel nine = centred(3, 3, std::vector<int32_t>(9, 1));
    convolveKernels(src.get(), dst.get(), {nine}, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 7);
    for (const int32_t mode : {1, 2, 3}) {
        iplSetBorderMode(src.get(), mode, 15, 0);
        convolveKernels(src.get(), dst.get(), {nine}, 0);
        EXPECT_EQ(element(dst.get(), 0, 0, 0), 63);
    }
    iplSetBorderMode(src.get(), 0, 15, 10);
    convolveKernels(src.get(), dst.get(), {nine}, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 87);
}

TEST(iplConvolve2D, ClampsBorderConstants)
{
    const PlainKernel left = {2, 1, 0, 0, {0, 1}, 0};
    const auto result = [&](uint32_t depth, int32_t constant) {
        const Image src = makeImage(1, 1, 1, depth);
        const Image dst = makeImage(1, 1, 1, depth);
        src->BorderConst[IPL_SIDE_LEFT] = constant;
        convolveKernels(src.get(), dst.get(), {left}, 0);
        EXPECT_EQ(src->BorderConst[IPL_SIDE_LEFT], constant);
        return element(dst.get(), 0, 0, 0);
    };
    EXPECT_EQ(result(IPL_DEPTH_8U, 300), 255);
    EXPECT_EQ(result(IPL_DEPTH_8U, -1), 0);
    EXPECT_EQ(result(IPL_DEPTH_8S, -300), -128);
    EXPECT_EQ(result(IPL_DEPTH_16U, 65536), 65535);
    EXPECT_EQ(result(IPL_DEPTH_16S, 40000), 32767);
    EXPECT_EQ(result(IPL_DEPTH_1U, 2), 1);
    EXPECT_EQ(result(IPL_DEPTH_1U, -1), 0);
    EXPECT_EQ(result(IPL_DEPTH_32S, -70000), -70000);
}

TEST(iplConvolve2D, ARegionsWindowsReadTheImageAroundIt)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 4; ++x)
            putElement(src.get(), x, y, 0, 1 + x + 4 * y);
    iplSetBorderMode(src.get(), 0, 15, 100);
    setRoi(src.get(), 0, 0, 0, 2, 2);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    convolveKernels(src.get(), dst.get(), {centred(3, 3, std::vector<int32_t>(9, 1), 2)}, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), (500 + 1 + 2 + 5 + 6) / 4);
    EXPECT_EQ(element(dst.get(), 1, 1, 0), (1 + 2 + 3 + 5 + 6 + 7 + 9 + 10 + 11) / 4);
    EXPECT_EQ(element(dst.get(), 2, 2, 0), 0);
}

TEST(iplConvolve2D, BitsAreSetWhereAnyInTheWindowIs)
{
    const Image src = makeImage(12, 3, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(12, 3, 1, IPL_DEPTH_1U);
    putElement(src.get(), 5, 1, 0, 1);
    putElement(src.get(), 6, 1, 0, 1);
    convolveKernels(src.get(), dst.get(), {centred(3, 3, std::vector<int32_t>(9, 1))}, 0);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 12; ++x)
            EXPECT_EQ(element(dst.get(), x, y, 0), x >= 4 && x <= 7);
    convolveKernels(src.get(), dst.get(), {oneTap(-5)}, 0);
    EXPECT_EQ(element(dst.get(), 5, 1, 0), 0);
    convolveKernels(src.get(), dst.get(), {oneTap(5, 3)}, 0);
    EXPECT_EQ(element(dst.get(), 5, 1, 0), 0);
}

TEST(iplConvolve2D, MasksAreReadFromTheirOwnCorners)
{
    const Image src = makeImage(6, 2, 1, IPL_DEPTH_8U);
    std::fill_n(src->imageData, src->imageSize, char{9});
    const Image dst = makeImage(6, 2, 1, IPL_DEPTH_8U);
    setRoi(src.get(), 0, 1, 0, 5, 2);
    src->maskROI = makeImage(8, 4, 1, IPL_DEPTH_1U).release();
    setRoi(src->maskROI, 0, 3, 2, 30, 30); // past the mask: 5 x 2 of it
    putElement(src->maskROI, 4, 3, 0, 1);
    convolveKernels(src.get(), dst.get(), {oneTap(1)}, 0);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 6; ++x)
            EXPECT_EQ(element(dst.get(), x, y, 0), x == 1 && y == 1 ? 9 : 0);
}

// --- The plain form --------------------------------------------------------------------

TEST(iplConvolve2D, IsThePlainSumAtEveryLevel)
{
    Random random(10);
    for (const uint32_t depth : integerDepths)
        for (int i = 0; i < 250; ++i)
            expectPlainKernels(randomConvolved(depth, random), randomCall(random));
}

TEST(iplConvolve2D, LongRowsAreThePlainSum)
{
    Random random(11);
    for (const uint32_t depth : integerDepths) {
        for (int i = 0; i < 12; ++i) {
            Arrangement images{makeImage(random.between(60, 150), 4, 1, depth), nullptr, nullptr};
            images.dst = makeImage(images.a->width, 4, 1, depth);
            fillTelling(images.a.get(), random);
            giveRandomBorders(images.a.get(), random);
            expectPlainKernels(images, randomCall(random));
        }
    }
}

TEST(iplConvolve2D, TilesGiveTheSame)
{
    Random random(12);
    for (const uint32_t depth : integerDepths) {
        for (int i = 0; i < 60; ++i) {
            const RandomCall call = randomCall(random);
            expectSameFilterInTiles(
                randomConvolved(depth, random), {},
                [&](const IplImage* src, IplImage* dst, const PlainWindow&) {
                    convolveKernels(src, dst, call.kernels, call.method);
                },
                random);
        }
    }
}

TEST(iplConvolve2D, InPlaceReadsUnchangedPixels)
{
    Random random(13);
    for (const uint32_t depth : integerDepths) {
        for (int i = 0; i < 60; ++i) {
            const Arrangement images = randomConvolved(depth, random);
            IplImage* image = images.a.get();
            const RandomCall call = randomCall(random);
            const Twin expected(image);
            plainKernels(image, expected.get(), call);
            TiledTwin tiled(image, 16, 8);
            copyBorders(tiled.get(), image);
            IplImage sharer = *image; // another record of the same pixels
            convolveKernels(image, i % 2 ? image : &sharer, call.kernels, call.method);
            ASSERT_EQ(bytesOf(image), bytesOf(expected.get()))
                << images.text() << describeKernels(call.kernels, call.method);
            convolveKernels(tiled.get(), tiled.get(), call.kernels, call.method);
            tiled.collect(image);
            ASSERT_EQ(bytesOf(image), bytesOf(expected.get()))
                << images.text() << describeKernels(call.kernels, call.method);
        }
    }
}

TEST(iplConvolve2D, TouchesNothingOutsideTheBlocks)
{
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            const GuardedHandle src(67, 5, bitDepth, guard);
            const GuardedHandle dst(67, 5, bitDepth, guard);
            src.makeReadOnly();
            convolveKernels(src.get(), dst.get(), {sobelX}, 0);
            convolveKernels(src.get(), dst.get(), {sobelX, sobelY}, 2);
            convolveKernels(src.get(), dst.get(), {oneTap(1)}, 0);
            convolveKernels(src.get(), dst.get(), {oneTap(1000)}, 0);
            convolveKernels(src.get(), dst.get(), {oneTap(100000000)}, 0);
        }
    }
}

// --- Refusals --------------------------------------------------------------------------

TEST(iplConvolve2D, EndsTheProcessForARefusal)
{
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplConvolve2D(image.get(), image.get(), nullptr, 1, 0), -5, "iplConvolve2D",
                  "kernel==0", "iplcnv2d");
}

TEST(iplConvolve2D, RefusesImagesInOrder)
{
    const Image good = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_EQ(reportsOfKernels(nullptr, nullptr, nullptr, 0, 9),
              onlyOfKernels(-9, "Incorrect Image"));
    EXPECT_EQ(reportsOfKernels(good.get(), nullptr, nullptr, 0, 9),
              onlyOfKernels(-9, "Incorrect Image"));
    for (const IplROI& region : {IplROI{0, 3, 0, 1, 1}, IplROI{0, 0, 3, 1, 1}}) {
        IplROI roi = region;
        IplImage bad = *good;
        bad.roi = &roi;
        EXPECT_EQ(reportsOfKernels(&bad, good.get(), nullptr, 0, 9),
                  onlyOfKernels(-11, "Bad ROI offsets"));
        EXPECT_EQ(reportsOfKernels(good.get(), &bad, nullptr, 0, 9),
                  onlyOfKernels(-11, "Bad ROI offsets"));
    }
}

TEST(iplConvolve2D, RefusesKernelsInOrder)
{
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image other = makeImage(3, 3, 1, IPL_DEPTH_16U);
    const ConvKernel kernel = oneTap(1).make();
    OwnConvKernel bad = *kernel;
    bad.anchorX = 1;
    OwnConvKernel* handles[11];
    std::fill_n(handles, 11, kernel.get());
    const auto reports = [&](OwnConvKernel* const* kernels, int32_t count, int32_t method) {
        return reportsOfKernels(image.get(), other.get(), kernels, count, method);
    };
    const auto count = onlyOfKernels(-5, "(nKernels<=0 || nKernels>10)");
    EXPECT_EQ(reports(nullptr, 0, 9), onlyOfKernels(-5, "kernel==0"));
    EXPECT_EQ(reports(handles, 0, 9), count);
    EXPECT_EQ(reports(handles, -1, 9), count);
    EXPECT_EQ(reports(handles, 11, 9), count);
    EXPECT_EQ(reports(handles, 10, 5), onlyOfKernels(-5, "Inadmissible method"));
    EXPECT_EQ(reports(handles, 2, -1), onlyOfKernels(-5, "Inadmissible method"));
    handles[1] = nullptr;
    EXPECT_EQ(reports(handles, 2, 4), onlyOfKernels(-5, "kernel[i]==0"));
    handles[0] = &bad;
    EXPECT_EQ(reports(handles, 2, 4), onlyOfKernels(-5, "Bad kernel structure"));
    handles[0] = kernel.get();
    EXPECT_EQ(reports(handles, 1, 9), onlyOfKernels(-5, "Uncompatible images"));
}

TEST(iplConvolve2D, RefusesImagesThatDoNotGoTogether)
{
    const Image bytes = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image planes = makeImage(3, 3, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    const Image bits = makeImage(3, 3, 1, IPL_DEPTH_1U);
    const Image bitPlanes = makeImage(3, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    const Image gray = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image alphaAlone = makeImage(3, 3, 1, IPL_DEPTH_8U, 0, 4, 1);
    const Image threeAndAlpha = makeImage(3, 3, 4, IPL_DEPTH_8U, 0, 4, 4);
    const auto uncompatible = onlyOfKernels(-5, "Uncompatible images");
    EXPECT_EQ(reportsOfKernels(bytes.get(), planes.get()), uncompatible);
    EXPECT_EQ(reportsOfKernels(bits.get(), bitPlanes.get()), uncompatible);
    EXPECT_EQ(reportsOfKernels(floats.get(), gray.get()), uncompatible);
    EXPECT_EQ(reportsOfKernels(floats.get(), floats.get()),
              onlyOfKernels(-5, "32F images can be processed only with FP kernel"));
    EXPECT_EQ(reportsOfKernels(gray.get(), bytes.get()), uncompatible);
    EXPECT_EQ(reportsOfKernels(bytes.get(), threeAndAlpha.get()), (std::vector<Report>{}));
    EXPECT_EQ(reportsOfKernels(alphaAlone.get(), gray.get()),
              onlyOfKernels(-5, "No channel to operate"));
    EXPECT_EQ(reportsOfKernels(gray.get(), alphaAlone.get()),
              onlyOfKernels(-5, "No channel to operate"));
}

TEST(iplConvolve2D, RefusesOneChannelOfInterestWithoutTheOther)
{
    const Image plain = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image chosen = makeImage(3, 3, 4, IPL_DEPTH_8U);
    setRoi(chosen.get(), 2, 0, 0, 3, 3);
    const auto text = onlyOfKernels(-5, "One of the COI is not defined");
    EXPECT_EQ(reportsOfKernels(plain.get(), chosen.get()), text);
    EXPECT_EQ(reportsOfKernels(chosen.get(), plain.get()), text);
    setRoi(plain.get(), 3, 1, 1, 1, 1);
    EXPECT_EQ(reportsOfKernels(chosen.get(), plain.get()), (std::vector<Report>{}));
}

TEST(iplConvolve2D, DoesNothingWithoutCommonPixels)
{
    // Not even look at the channels.
    const Image src = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(3, 3, 3, IPL_DEPTH_8U);
    src->maskROI = makeImage(3, 3, 1, IPL_DEPTH_1U).release();
    setRoi(src->maskROI, 0, 3, 0, 2, 2);
    EXPECT_EQ(reportsOfKernels(src.get(), dst.get()), (std::vector<Report>{}));
}

TEST(iplConvolve2D, TellsOfMemoryAndTiles)
{
    const Image src = makeImage(20, 20, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(20, 20, 1, IPL_DEPTH_8U);
    src->maskROI = makeImage(20, 20, 1, IPL_DEPTH_1U).release();
    dst->maskROI = makeImage(20, 20, 1, IPL_DEPTH_1U).release();
    const ConvKernel kernel = sobelX.make();
    OwnConvKernel* const handle = kernel.get();
    const Report expected{-4, "iplConvolve2D", "Allocation failure", "iplcnv2d"};
    int32_t passing = 0;
    for (;; ++passing) {
        const RecordedReports recorded;
        {
            const FailingAllocation failure(passing);
            iplConvolve2D(src.get(), dst.get(), &handle, 1, 0);
        }
        if (recorded.all().empty())
            break;
        // The maker of the merged mask's pixels reports first.
        EXPECT_EQ(recorded.all().back(), expected) << passing;
    }
    EXPECT_GT(passing, 5);
    TiledImage tiles(src.get(), 8, 8);
    tiles.failFrom = 4;
    EXPECT_EQ(reportsOfKernels(tiles.get(), dst.get(), &handle, 1, 0),
              onlyOfKernels(-5, "Internal error"));
}
