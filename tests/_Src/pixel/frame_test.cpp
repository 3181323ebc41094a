// Every member of the family, over random arrangements of images.
#include "_Src/pixel/frame.h"

#include "fuzz/leaks.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/levels.h"
#include "tests/support/pixel_cases.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>

namespace
{

// --- The plain formulas --------------------------------------------------------------------

int64_t whole(double value)
{
    return static_cast<int64_t>(value);
}

double plainAdd(uint32_t depth, double a, double b)
{
    if (depth == IPL_DEPTH_1U)
        return a != 0 || b != 0;
    if (depth == IPL_DEPTH_32F)
        return static_cast<float>(a) + static_cast<float>(b);
    return saturated(depth, whole(a) + whole(b));
}

double plainSubtract(uint32_t depth, double a, double b)
{
    if (depth == IPL_DEPTH_1U)
        return a != 0 && b == 0;
    if (depth == IPL_DEPTH_32F)
        return static_cast<float>(a) - static_cast<float>(b);
    return saturated(depth, whole(a) - whole(b));
}

double plainMultiply(uint32_t depth, double a, double b)
{
    if (depth == IPL_DEPTH_1U)
        return a != 0 && b != 0;
    if (depth == IPL_DEPTH_32F)
        return static_cast<float>(a) * static_cast<float>(b);
    return saturated(depth, whole(a) * whole(b));
}

double plainSquare(uint32_t depth, double a, double)
{
    return depth == IPL_DEPTH_1U ? a : plainMultiply(depth, a, a);
}

double plainAddS(uint32_t depth, double a, double value)
{
    if (depth == IPL_DEPTH_1U)
        return a != 0 || (whole(value) & 1);
    return saturated(depth, whole(a) + whole(value));
}

double plainSubtractS(uint32_t depth, double a, double value)
{
    if (depth == IPL_DEPTH_1U)
        return a != 0 && !(whole(value) & 1);
    return saturated(depth, whole(a) - whole(value));
}

double plainSubtractFromS(uint32_t depth, double a, double value)
{
    if (depth == IPL_DEPTH_1U)
        return a == 0 && (whole(value) & 1);
    return saturated(depth, whole(value) - whole(a));
}

double plainMultiplyS(uint32_t depth, double a, double value)
{
    if (depth == IPL_DEPTH_1U)
        return a != 0 && (whole(value) & 1);
    // The value is brought into the depth's range first.
    return saturated(depth, whole(a) * whole(saturated(depth, whole(value))));
}

double plainScale(uint32_t depth, double a, double b)
{
    return static_cast<double>(whole(a) * whole(b) / highOf(depth));
}

double plainAndS(uint32_t depth, double a, double value)
{
    return wrapped(depth, whole(a) & whole(value));
}

double plainOrS(uint32_t depth, double a, double value)
{
    return wrapped(depth, whole(a) | whole(value));
}

double plainXorS(uint32_t depth, double a, double value)
{
    return wrapped(depth, whole(a) ^ whole(value));
}

int64_t shiftCount(double value)
{
    return static_cast<uint32_t>(static_cast<int32_t>(value));
}

double plainLeft(uint32_t depth, double a, double value)
{
    const int64_t count = shiftCount(value);
    return count >= (depth & IPL_DEPTH_MASK) ? 0 : wrapped(depth, whole(a) * (int64_t{1} << count));
}

double plainRight(uint32_t, double a, double value)
{
    return std::floor(a /
                      std::pow(2.0, static_cast<double>(std::min<int64_t>(shiftCount(value), 40))));
}

// --- The members -----------------------------------------------------------------------------

enum Depths { bitsToWords, bitsToFloats, unsignedOnly };

struct Member {
    const char* name;
    const char* file;
    Depths depths;
    void (*scalar)(const IplImage*, IplImage*, int32_t);
    void (*pair)(const IplImage*, const IplImage*, IplImage*);
    double (*plain)(uint32_t depth, double a, double b);
    // Who refuses the depths above, and how, if not the member itself.
    const char* floatText;
};

void square(const IplImage* src, IplImage* dst, int32_t)
{
    iplSquare(src, dst);
}
void invert(const IplImage* src, IplImage* dst, int32_t)
{
    iplNot(src, dst);
}
void subtractS(const IplImage* src, IplImage* dst, int32_t value)
{
    iplSubtractS(src, dst, value, 0);
}
void subtractFromS(const IplImage* src, IplImage* dst, int32_t value)
{
    iplSubtractS(src, dst, value, 7);
}
void leftShiftS(const IplImage* src, IplImage* dst, int32_t value)
{
    iplLShiftS(src, dst, static_cast<uint32_t>(value));
}
void rightShiftS(const IplImage* src, IplImage* dst, int32_t value)
{
    iplRShiftS(src, dst, static_cast<uint32_t>(value));
}
double plainNot(uint32_t depth, double a, double)
{
    return plainXorS(depth, a, -1);
}

constexpr const char* noFloats = "This function does not support depth 32F";

const Member members[] = {
    {"iplAddS", "ipladds", bitsToWords, iplAddS, nullptr, plainAddS,
     "For processing depth 32F use function iplAddSFP"},
    {"iplSubtractS", "iplsubs", bitsToWords, subtractS, nullptr, plainSubtractS,
     "For processing depth 32F use function iplSubtractSFP"},
    {"iplSubtractS", "iplsubs", bitsToWords, subtractFromS, nullptr, plainSubtractFromS,
     "For processing depth 32F use function iplSubtractSFP"},
    {"iplMultiplyS", "iplmuls", bitsToWords, iplMultiplyS, nullptr, plainMultiplyS,
     "For processing depth 32F use function iplMultiplySFP"},
    {"iplSquare", "iplsqr", bitsToFloats, square, nullptr, plainSquare, nullptr},
    {"iplAndS", "iplands", bitsToWords, iplAndS, nullptr, plainAndS, noFloats},
    {"iplOrS", "iplors", bitsToWords, iplOrS, nullptr, plainOrS, noFloats},
    {"iplXorS", "iplxors", bitsToWords, iplXorS, nullptr, plainXorS, noFloats},
    {"iplXorS", "iplxors", bitsToWords, invert, nullptr, plainNot, noFloats},
    {"iplLShiftS", "ipllshs", bitsToWords, leftShiftS, nullptr, plainLeft, noFloats},
    {"iplRShiftS", "iplrshs", bitsToWords, rightShiftS, nullptr, plainRight, noFloats},
    {"iplMultiplySScale", "iplalpha", unsignedOnly, iplMultiplySScale, nullptr,
     [](uint32_t depth, double a, double value) {
         return plainScale(depth, a, saturated(depth, whole(value)));
     },
     nullptr},
    {"iplAdd", "ipladd", bitsToFloats, nullptr, iplAdd, plainAdd, nullptr},
    {"iplSubtract", "iplsub", bitsToFloats, nullptr, iplSubtract, plainSubtract, nullptr},
    {"iplMultiply", "iplmul", bitsToFloats, nullptr, iplMultiply, plainMultiply, nullptr},
    {"iplAnd", "ipland", bitsToWords, nullptr, iplAnd, plainAndS, noFloats},
    {"iplOr", "iplor", bitsToWords, nullptr, iplOr, plainOrS, noFloats},
    {"iplXor", "iplxor", bitsToWords, nullptr, iplXor, plainXorS, noFloats},
    {"iplMultiplyScale", "iplalpha", unsignedOnly, nullptr, iplMultiplyScale, plainScale, nullptr},
};

std::vector<uint32_t> depthsOf(const Member& member)
{
    if (member.depths == unsignedOnly)
        return {IPL_DEPTH_8U, IPL_DEPTH_16U};
    std::vector<uint32_t> depths(std::begin(allDepths), std::end(allDepths));
    if (member.depths == bitsToWords)
        depths.pop_back();
    return depths;
}

int32_t tellingValue(Random& random)
{
    constexpr int32_t values[] = {
        INT_MIN, INT_MIN + 1, -65537, -65536, -65535, -32768, -256,   -255,   -129,   -128,
        -3,      -2,          -1,     0,      1,      2,      3,      7,      8,      15,
        16,      31,          32,     100,    127,    128,    255,    256,    509,    510,
        511,     1000,        32767,  65534,  65535,  65536,  131069, 131070, 131071, INT_MAX};
    if (random.coin())
        return values[random.between(0, static_cast<int32_t>(std::size(values)) - 1)];
    return random.between(-400, 400);
}

Operation operationOf(const Member& member, int32_t value)
{
    return [&member, value](const IplImage* a, const IplImage* b, IplImage* dst) {
        if (member.pair)
            member.pair(a, b, dst);
        else
            member.scalar(a, dst, value);
    };
}

PlainFormula formulaOf(const Member& member, int32_t value)
{
    return [&member, value](uint32_t depth, double a, double b) {
        return member.plain(depth, a, member.pair ? b : value);
    };
}

// Calls work(member, depth, random, value) so many times for each depth.
template<class Work>
void forEachMember(int rounds, uint64_t seed, Work work)
{
    for (const Member& member : members) {
        for (const uint32_t depth : depthsOf(member)) {
            Random random(seed + depth);
            for (int round = 0; round < rounds && !testing::Test::HasFatalFailure(); ++round) {
                const int32_t value = tellingValue(random);
                SCOPED_TRACE(std::string(member.name) + " " + std::to_string(value));
                work(member, depth, random, value);
            }
        }
    }
}

} // namespace

TEST(PixelFrame, GivesThePlainResultForRandomImages)
{
    forEachLevel([] {
        forEachMember(
            60, 100, [](const Member& member, uint32_t depth, Random& random, int32_t value) {
                const Arrangement images = randomArrangement(depth, member.pair ? 2 : 1, random);
                expectPlainResult(images, operationOf(member, value), formulaOf(member, value));
            });
    });
}

TEST(PixelFrame, WritesIntoASource)
{
    forEachMember(40, 200, [](const Member& member, uint32_t depth, Random& random, int32_t value) {
        const Arrangement images = randomArrangement(depth, member.pair ? 2 : 1, random);
        expectPlainResultInPlace(images, operationOf(member, value), formulaOf(member, value));
    });
}

TEST(PixelFrame, GivesTheSameInTiles)
{
    forEachMember(40, 300, [](const Member& member, uint32_t depth, Random& random, int32_t value) {
        const Arrangement images = randomArrangement(depth, member.pair ? 2 : 1, random);
        expectSameInTiles(images, operationOf(member, value), random);
    });
}

TEST(PixelFrame, ReadsTheSameImageTwice)
{
    forEachMember(10, 400, [](const Member& member, uint32_t depth, Random& random, int32_t value) {
        if (!member.pair)
            return;
        const Arrangement images = randomArrangement(depth, 1, random);
        const Twin expected(images.dst.get());
        plainOperation(plainJob(images.a.get(), images.a.get(), expected.get()),
                       formulaOf(member, value));
        member.pair(images.a.get(), images.a.get(), images.dst.get());
        ASSERT_EQ(bytesOf(images.dst.get()), bytesOf(expected.get())) << images.text();
    });
}

TEST(PixelFrame, WalksImagesWiderThanItsScratchRows)
{
    Random random(500);
    for (const int32_t nChannels : {1, 3, 4, 40}) {
        for (const bool masked : {false, true}) {
            const auto image = [&](int32_t alpha) {
                Image made = makeImage(5000, 2, nChannels, IPL_DEPTH_8U, 0, 4, alpha);
                randomise(made.get(), random);
                return made;
            };
            const int32_t alpha = nChannels > 1 ? nChannels : 0;
            Arrangement images{image(alpha), image(alpha), image(alpha)};
            if (masked)
                giveRandomMask(images.b.get(), 5000, 2, random);
            expectPlainResult(images, iplAdd, plainAdd);
        }
    }
    Arrangement bits{makeImage(70000, 2, 1, IPL_DEPTH_1U), makeImage(70000, 2, 1, IPL_DEPTH_1U),
                     makeImage(70000, 2, 1, IPL_DEPTH_1U)};
    randomise(bits.a.get(), random);
    randomise(bits.b.get(), random);
    giveRandomMask(bits.dst.get(), 70000, 2, random);
    setRoi(bits.a.get(), 0, 3, 0, 70000, 2);
    expectPlainResult(bits, iplXor, plainXorS);
}

TEST(PixelFrame, KeepsThePaddingOfRows)
{
    Random random(501);
    const Image src = makeImage(5, 3, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(5, 3, 3, IPL_DEPTH_8U);
    randomise(src.get(), random);
    randomise(dst.get(), random);
    ASSERT_TRUE(ownIsWholeRun(src.get(), dst.get(), nullptr, false));
    const std::vector<uint8_t> before = bytesOf(dst.get());
    iplXorS(src.get(), dst.get(), -1);
    for (int32_t y = 0; y < 3; ++y)
        EXPECT_EQ(rowOf(dst.get(), y)[15], before[static_cast<size_t>(y * dst->widthStep + 15)]);
}

TEST(PixelFrame, TakesRecordsWithRowsOfTheCallersOwn)
{
    // Wider rows than the header asks for, in borrowed memory.
    Random random(502);
    std::vector<uint8_t> pixels(64 * 4);
    const Image src = makeImage(7, 4, 1, IPL_DEPTH_8U);
    randomise(src.get(), random);
    const Image dst = makeImage(7, 4, 1, IPL_DEPTH_8U);
    iplDeallocateImage(dst.get());
    dst->imageData = reinterpret_cast<char*>(pixels.data());
    dst->widthStep = 64;
    iplXorS(src.get(), dst.get(), 0);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 64; ++x)
            ASSERT_EQ(pixels[static_cast<size_t>(y * 64 + x)],
                      x < 7 ? element(src.get(), x, y, 0) : 0);
}

// --- Worked arrangements ---------------------------------------------------------------------

TEST(PixelFrame, DoesNothingSilentlyForMasksWithoutCommonPixels)
{
    const CleanStatus clean;
    Random random(503);
    const Image src = makeImage(9, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(9, 4, 1, IPL_DEPTH_8U);
    giveRandomMask(src.get(), 9, 4, random);
    giveRandomMask(dst.get(), 9, 4, random);
    setRoi(dst->maskROI, 0, 9, 0, 2, 2);
    iplOrS(src.get(), dst.get(), -1);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(48, 0));
    // Floats are refused later than that.
    const Image floats = makeImage(9, 4, 1, IPL_DEPTH_32F);
    giveRandomMask(floats.get(), 9, 4, random);
    const Image target = makeImage(9, 4, 1, IPL_DEPTH_32F);
    giveRandomMask(target.get(), 9, 4, random);
    setRoi(target->maskROI, 0, 0, 4, 2, 2);
    iplOrS(floats.get(), target.get(), -1);
    EXPECT_EQ(iplGetStatus(), 0);
}

TEST(PixelFrame, ReachesLaterRefusalsUnderASingleMaskOutsideItsRegion)
{
    Random random(504);
    const Image floats = makeImage(9, 4, 1, IPL_DEPTH_32F);
    giveRandomMask(floats.get(), 9, 4, random);
    setRoi(floats->maskROI, 0, 9, 0, 2, 2);
    const Image target = makeImage(9, 4, 1, IPL_DEPTH_32F);
    EXPECT_REPORT(iplOrS(floats.get(), target.get(), -1), -5, "iplOrS", noFloats, "iplors");
    const Image src = makeImage(9, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(9, 4, 1, IPL_DEPTH_8U);
    giveRandomMask(src.get(), 9, 4, random);
    setRoi(src->maskROI, 0, 9, 0, 2, 2);
    iplOrS(src.get(), dst.get(), -1);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(48, 0));
}

TEST(PixelFrame, LeavesTheAlphaChannelOutUnlessItIsTheChannelOfInterest)
{
    const Image src = makeImage(5, 3, 4, IPL_DEPTH_8U, 0, 4, 4);
    const Image dst = makeImage(5, 3, 4, IPL_DEPTH_8U, 0, 4, 4);
    iplOrS(src.get(), dst.get(), 0x55);
    for (int32_t c = 0; c < 4; ++c)
        EXPECT_EQ(element(dst.get(), 4, 2, c), c == 3 ? 0 : 0x55);
    setRoi(src.get(), 4, 0, 0, 5, 3);
    setRoi(dst.get(), 4, 0, 0, 5, 3);
    iplOrS(src.get(), dst.get(), 0x77);
    for (int32_t c = 0; c < 4; ++c)
        EXPECT_EQ(element(dst.get(), 4, 2, c), c == 3 ? 0x77 : 0x55);
}

TEST(PixelFrame, LeavesTheAlphaChannelOutUnderAMaskToo)
{
    const Image src = makeImage(2, 1, 4, IPL_DEPTH_32S, 0, 4, 4);
    const Image dst = makeImage(2, 1, 4, IPL_DEPTH_32S, 0, 4, 4);
    src->maskROI = makeImage(2, 1, 1, IPL_DEPTH_1U).release();
    putElement(src->maskROI, 1, 0, 0, 1);
    iplAddS(src.get(), dst.get(), 7);
    for (int32_t c = 0; c < 4; ++c) {
        EXPECT_EQ(element(dst.get(), 0, 0, c), 0);
        EXPECT_EQ(element(dst.get(), 1, 0, c), c == 3 ? 0 : 7);
    }
}

TEST(PixelFrame, ChangesTheChannelOfInterestAlone)
{
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        const Image image = makeImage(3, 2, 3, IPL_DEPTH_16S, order);
        setRoi(image.get(), 2, 0, 0, 3, 2);
        iplAddS(image.get(), image.get(), -5);
        for (int32_t c = 0; c < 3; ++c)
            EXPECT_EQ(element(image.get(), 2, 1, c), c == 1 ? -5 : 0);
    }
}

TEST(PixelFrame, LeavesAnImageOfAlphaAloneAsItIs)
{
    const Image src = makeImage(5, 3, 1, IPL_DEPTH_8U, 0, 4, 1);
    const Image dst = makeImage(5, 3, 1, IPL_DEPTH_8U, 0, 4, 1);
    iplOrS(src.get(), dst.get(), -1);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(24, 0));
}

TEST(PixelFrame, PairsPixelsFromEachRegionsCorner)
{
    const Image src = makeImage(10, 4, 1, IPL_DEPTH_8U);
    for (int32_t x = 0; x < 10; ++x)
        putElement(src.get(), x, 1, 0, x + 1);
    setRoi(src.get(), 0, 3, 1, 4, 3);
    const Image dst = makeImage(10, 4, 1, IPL_DEPTH_8U);
    iplXorS(src.get(), dst.get(), 0);
    for (int32_t x = 0; x < 10; ++x)
        EXPECT_EQ(element(dst.get(), x, 0, 0), x < 4 ? x + 4 : 0);
    EXPECT_EQ(element(dst.get(), 0, 3, 0), 0);
}

TEST(PixelFrame, PairsRowsInMemoryOrderWhateverTheOrigins)
{
    const Image src = makeImage(4, 2, 1, IPL_DEPTH_8U, 0, 4, 0, IPL_ORIGIN_BL);
    putElement(src.get(), 0, 0, 0, 9);
    const Image dst = makeImage(4, 2, 1, IPL_DEPTH_8U);
    iplXorS(src.get(), dst.get(), 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 9);
    EXPECT_EQ(element(dst.get(), 0, 1, 0), 0);
}

TEST(PixelFrame, DoesNothingForARegionThatStartsPastTheEdge)
{
    for (const int32_t order : {0, 1}) {
        const Image src = makeImage(4, 2, 3, IPL_DEPTH_8U, order);
        const Image dst = makeImage(4, 2, 3, IPL_DEPTH_8U, order);
        for (const bool inSource : {true, false}) {
            IplImage* image = inSource ? src.get() : dst.get();
            setRoi(image, 0, 0, INT_MAX, INT_MAX, INT_MAX);
            iplOrS(src.get(), dst.get(), -1);
            setRoi(image, 0, INT_MAX, 0, INT_MAX, INT_MAX);
            iplOrS(src.get(), dst.get(), -1);
            setRoi(image, 0, 0, 0, INT_MAX, INT_MAX);
        }
        EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(static_cast<size_t>(dst->imageSize), 0));
        iplOrS(src.get(), dst.get(), -1);
        EXPECT_EQ(element(dst.get(), 3, 1, 2), 255);
    }
}

TEST(PixelFrame, LeavesTheBitsAroundARegion)
{
    const Image src = makeImage(16, 1, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(16, 1, 1, IPL_DEPTH_1U);
    rowOf(dst.get(), 0)[0] = 0xA8;
    setRoi(dst.get(), 0, 3, 0, 4, 1);
    iplOrS(src.get(), dst.get(), 1);
    EXPECT_EQ(rowOf(dst.get(), 0)[0], 0xBE);
    EXPECT_EQ(rowOf(dst.get(), 0)[1], 0);
}

// --- Refusals ----------------------------------------------------------------------------------

namespace
{

void runMember(const Member& member, const IplImage* a, const IplImage* b, IplImage* dst)
{
    // Unsigned elements and 1 have no short cut.
    operationOf(member, 1)(a, b, dst);
}

// Members with checks of their own have tests of their own.
bool hasFrameChecks(const Member& member)
{
    return member.depths != unsignedOnly;
}

std::string aOf(const Member& member)
{
    return member.pair ? "srcImageA" : "srcImage";
}

} // namespace

TEST(PixelFrame, RefusesBadImagesInTheirOrder)
{
    for (const Member& member : members) {
        if (!hasFrameChecks(member))
            continue;
        SCOPED_TRACE(member.name);
        // At this depth no member hands over to another before its checks.
        const auto image = [](int32_t badOrigin) {
            Image made = makeImage(3, 3, 1, IPL_DEPTH_32S);
            made->origin += badOrigin;
            return made;
        };
        const Image good = image(0);
        const Image bad = image(2);
        const Image worse = makeImage(3, 3, 1, IPL_DEPTH_32S);
        worse->align = 5;
        EXPECT_REPORT(runMember(member, bad.get(), worse.get(), worse.get()), -20, member.name,
                      "Incorrect Image", member.file);
        EXPECT_REPORT(runMember(member, good.get(), good.get(), worse.get()), -21, member.name,
                      "Incorrect Image", member.file);
        EXPECT_REPORT(runMember(member, good.get(), good.get(), nullptr), -9, member.name,
                      "Incorrect Image", member.file);
        if (member.pair) {
            EXPECT_REPORT(runMember(member, good.get(), bad.get(), worse.get()), -20, member.name,
                          "Incorrect Image", member.file);
            EXPECT_REPORT(runMember(member, good.get(), nullptr, worse.get()), -9, member.name,
                          "Incorrect Image", member.file);
        }
    }
}

TEST(PixelFrame, RefusesDifferingDepthsThenOrdersThenChannels)
{
    for (const Member& member : members) {
        if (!hasFrameChecks(member))
            continue;
        SCOPED_TRACE(member.name);
        const std::string a = aOf(member);
        const Image good = makeImage(3, 3, 3, IPL_DEPTH_32S);
        Image other = makeImage(3, 3, 4, IPL_DEPTH_16S, IPL_DATA_ORDER_PLANE);
        EXPECT_REPORT(runMember(member, good.get(), good.get(), other.get()), -5, member.name,
                      "(" + a + "->depth != dstImage->depth)", member.file);
        other = makeImage(3, 3, 4, IPL_DEPTH_32S, IPL_DATA_ORDER_PLANE);
        EXPECT_REPORT(runMember(member, good.get(), good.get(), other.get()), -5, member.name,
                      "(" + a + "->dataOrder != dstImage->dataOrder)", member.file);
        other = makeImage(3, 3, 4, IPL_DEPTH_32S);
        EXPECT_REPORT(runMember(member, good.get(), good.get(), other.get()), -5, member.name,
                      member.pair ? "(nChSrcA != nChDst)" : "(nChSrc != nChDst)", member.file);
        if (!member.pair)
            continue;
        other = makeImage(3, 3, 4, IPL_DEPTH_16S, IPL_DATA_ORDER_PLANE);
        EXPECT_REPORT(runMember(member, good.get(), other.get(), good.get()), -5, member.name,
                      "(srcImageB->depth != dstImage->depth)", member.file);
        // All depths come before all orders, and these before all channels.
        const Image planes = makeImage(3, 3, 3, IPL_DEPTH_32S, IPL_DATA_ORDER_PLANE);
        EXPECT_REPORT(runMember(member, planes.get(), other.get(), good.get()), -5, member.name,
                      "(srcImageB->depth != dstImage->depth)", member.file);
        other = makeImage(3, 3, 4, IPL_DEPTH_32S, IPL_DATA_ORDER_PLANE);
        EXPECT_REPORT(runMember(member, good.get(), other.get(), good.get()), -5, member.name,
                      "(srcImageB->dataOrder != dstImage->dataOrder)", member.file);
        const Image four = makeImage(3, 3, 4, IPL_DEPTH_32S);
        EXPECT_REPORT(runMember(member, four.get(), other.get(), good.get()), -5, member.name,
                      "(srcImageB->dataOrder != dstImage->dataOrder)", member.file);
        EXPECT_REPORT(runMember(member, good.get(), four.get(), good.get()), -5, member.name,
                      "(nChSrcB != nChDst)", member.file);
    }
}

TEST(PixelFrame, RefusesFloatsWhereItDoesNotTakeThem)
{
    for (const Member& member : members) {
        if (!member.floatText)
            continue;
        SCOPED_TRACE(member.name);
        const Image src = makeImage(3, 3, 1, IPL_DEPTH_32F);
        const Image dst = makeImage(3, 3, 1, IPL_DEPTH_32F);
        EXPECT_REPORT(runMember(member, src.get(), src.get(), dst.get()), -5, member.name,
                      member.floatText, member.file);
    }
}

TEST(PixelFrame, CountsChannelsWithoutAlphaOrTheOneOfInterest)
{
    const CleanStatus clean;
    const Image three = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image withAlpha = makeImage(3, 3, 4, IPL_DEPTH_8U, 0, 4, 4);
    const Image one = makeImage(3, 3, 1, IPL_DEPTH_8U);
    iplXorS(three.get(), withAlpha.get(), 0);
    iplXorS(withAlpha.get(), three.get(), 0);
    setRoi(withAlpha.get(), 2, 0, 0, 3, 3);
    iplXorS(withAlpha.get(), one.get(), 0);
    EXPECT_EQ(iplGetStatus(), 0);
    // A region alone does not single a channel out.
    setRoi(three.get(), 0, 0, 0, 3, 3);
    EXPECT_REPORT(iplXorS(three.get(), one.get(), 0), -5, "iplXorS", "(nChSrc != nChDst)",
                  "iplxors");
}

TEST(PixelFrame, ChangesNothingBeforeARefusal)
{
    for (const Member& member : members) {
        SCOPED_TRACE(member.name);
        const Image src = makeImage(3, 3, 1, IPL_DEPTH_32S);
        const Image dst = makeImage(3, 3, 2, IPL_DEPTH_32S);
        const std::vector<uint8_t> before = bytesOf(dst.get());
        const RecordedReports reports;
        runMember(member, src.get(), src.get(), dst.get());
        EXPECT_EQ(reports.all().size(), 1u);
        EXPECT_EQ(bytesOf(dst.get()), before);
    }
}

TEST(PixelFrame, EndsAtABadImage)
{
    for (const Member& member : members) {
        if (!hasFrameChecks(member))
            continue;
        SCOPED_TRACE(member.name);
        const Image bad = makeImage(3, 3, 1, IPL_DEPTH_32S);
        const Image dst = makeImage(3, 3, 1, IPL_DEPTH_32S);
        iplSet(dst.get(), -7);
        const std::vector<uint8_t> before = bytesOf(dst.get());
        bad->align = 5;
        const RecordedReports reports;
        runMember(member, bad.get(), bad.get(), dst.get());
        EXPECT_EQ(reports.all(),
                  (std::vector<Report>{{-21, member.name, "Incorrect Image", member.file}}));
        EXPECT_EQ(bytesOf(dst.get()), before);
    }
}

TEST(PixelFrame, ReportsThatThereIsNoMemoryForAMergedMask)
{
    Random random(505);
    for (const Member& member : members) {
        SCOPED_TRACE(member.name);
        // At this depth no member hands over to another.
        const uint32_t depth = hasFrameChecks(member) ? IPL_DEPTH_32S : IPL_DEPTH_8U;
        const Image src = makeImage(9, 4, 1, depth);
        const Image dst = makeImage(9, 4, 1, depth);
        randomise(dst.get(), random);
        const std::vector<uint8_t> before = bytesOf(dst.get());
        giveRandomMask(src.get(), 9, 4, random);
        giveRandomMask(dst.get(), 9, 4, random);
        const char* text = hasFrameChecks(member) ? "Out of memory" : "No working memory";
        const Report noPixels{-4, "iplAllocateImage", "for allocate image data", "iplalloc"};
        const Report noMask{-4, member.name, text, member.file};
        for (const int32_t allocation : {0, 1}) {
            const RecordedReports reports;
            {
                const FailingAllocation failing(allocation);
                runMember(member, src.get(), src.get(), dst.get());
            }
            std::vector<Report> expected{noMask};
            if (allocation == 1)
                expected.insert(expected.begin(), noPixels);
            EXPECT_EQ(reports.all(), expected);
            EXPECT_EQ(bytesOf(dst.get()), before);
        }
    }
}

// --- Tiles -------------------------------------------------------------------------------------

TEST(PixelFrame, FetchesTheStartTileOfEachStripeAgain)
{
    // Stripes end at rows 8 and 16 of the source and 16 of the destination.
    const Image plain = makeImage(24, 24, 1, IPL_DEPTH_8U);
    TiledImage src(plain.get(), 16, 8);
    TiledImage dst(plain.get(), 8, 16);
    setRoi(src.get(), 0, 10, 4, 12, 20);
    setRoi(dst.get(), 0, 6, 4, 12, 8);
    iplXorS(src.get(), dst.get(), 0);
    EXPECT_EQ(src.log, fetches(toRead, {{0, 0}, {1, 0}, {0, 1}, {1, 1}}));
    // The second stripe lies in the same tiles as the first.
    EXPECT_EQ(dst.log, fetches(toWrite, {{0, 0}, {1, 0}, {2, 0}, {0, 0}, {1, 0}, {2, 0}}));
}

TEST(PixelFrame, FetchesOnlyTheDestinationsTilesInPlace)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage tiled(plain.get(), 8, 8);
    iplXorS(tiled.get(), tiled.get(), 3);
    EXPECT_EQ(tiled.log, fetches(toWrite, {{0, 0}, {1, 0}}));
    tiled.log.clear();
    iplOr(tiled.get(), plain.get(), tiled.get());
    EXPECT_EQ(tiled.log, fetches(toWrite, {{0, 0}, {1, 0}}));
    tiled.collect(plain.get());
    EXPECT_EQ(bytesOf(plain.get()), std::vector<uint8_t>(128, 3));
}

TEST(PixelFrame, EndsAtATileThatDoesNotCome)
{
    const Image plain = makeImage(16, 16, 1, IPL_DEPTH_32S);
    TiledImage tiled(plain.get(), 8, 8);
    for (const Member& member : members) {
        if (member.depths == unsignedOnly)
            continue;
        SCOPED_TRACE(member.name);
        // Every call to the end of the walk may be the last.
        for (int lastCall : {0, 2, 4}) {
            tiled.failFrom = lastCall;
            tiled.log.clear();
            const std::string a = aOf(member);
            EXPECT_REPORT(runMember(member, tiled.get(), plain.get(), plain.get()), -5, member.name,
                          "(" + a + "->tileInfo->tileData == 0)", member.file);
            EXPECT_REPORT(runMember(member, plain.get(), plain.get(), tiled.get()), -5, member.name,
                          "(dstImage->tileInfo->tileData == 0)", member.file);
            if (member.pair) {
                EXPECT_REPORT(runMember(member, plain.get(), tiled.get(), plain.get()), -5,
                              member.name, "(srcImageB->tileInfo->tileData == 0)", member.file);
            }
        }
    }
}

TEST(PixelFrame, AsksForNoTileWithoutCommonPixels)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage src(plain.get(), 8, 8);
    setRoi(src.get(), 0, 16, 0, 4, 4);
    iplXorS(src.get(), plain.get(), -1);
    setRoi(src.get(), 0, 0, 8, 4, 4);
    iplXorS(src.get(), plain.get(), -1);
    EXPECT_EQ(src.log, std::vector<TileCall>{});
    EXPECT_EQ(bytesOf(plain.get()), std::vector<uint8_t>(128, 0));
}

TEST(PixelFrame, ReleasesNoTileOnceOneDidNotCome)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage src(plain.get(), 8, 8);
    TiledImage dst(plain.get(), 8, 8);
    dst.failFrom = 2;
    const RecordedReports reports;
    iplOrS(src.get(), dst.get(), 3);
    EXPECT_EQ(reports.all(), (std::vector<Report>{
                                 {-5, "iplOrS", "(dstImage->tileInfo->tileData == 0)", "iplors"}}));
    // The source is a tile ahead, and both stay where they are.
    EXPECT_EQ(src.log, (std::vector<TileCall>{{0, 0, 1}, {0, 0, 4}, {1, 0, 1}}));
    EXPECT_EQ(dst.log, (std::vector<TileCall>{{0, 0, 2}, {0, 0, 4}, {1, 0, 2}}));
    dst.collect(plain.get());
    EXPECT_EQ(element(plain.get(), 7, 7, 0), 3);
    EXPECT_EQ(element(plain.get(), 8, 0, 0), 0);
}

TEST(PixelFrame, LeavesTheMergedMaskBehindWhenATileDoesNotCome)
{
    Random random(510);
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage src(plain.get(), 8, 8);
    const Image dst = makeImage(16, 8, 1, IPL_DEPTH_8U);
    const Image masks[2] = {makeImage(16, 8, 1, IPL_DEPTH_1U), makeImage(16, 8, 1, IPL_DEPTH_1U)};
    src->maskROI = masks[0].get();
    dst->maskROI = masks[1].get();
    src.failFrom = 2;
    const ReportsReturn returning;
    const LeaksAllowed leaks;
    int64_t before = 0;
    for (int round = 0; round < 2; ++round) {
        before = liveBlocks();
        src.log.clear();
        iplSetStatus(0);
        iplOrS(src.get(), dst.get(), 3);
        EXPECT_EQ(iplGetStatus(), -5);
    }
    // Its record and its bits; the log had its room from the first round on.
    EXPECT_EQ(liveBlocks(), before + 2);
    src->maskROI = nullptr;
    dst->maskROI = nullptr;
}
