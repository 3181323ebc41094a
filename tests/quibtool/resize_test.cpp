#include "quibtool/handle.h"
#include "quibtool/stretch/stretch.h"

#include "tests/support/bad_handles.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

constexpr int32_t manyModes[] = {0, 1, 2, 3, 5, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, -1};
constexpr const char* modeText =
    "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && "
    "interpolate != IPL_INTER_CUBIC";

using Resize = QuibStatus (*)(IplImage*, IplImage*, int32_t);

void expectBadHandlesRefused(Resize resize)
{
    const Image good = makeHandle(4, 4, 32);
    const Image empty = makeHandle(4, 4, 32);
    iplDeallocateImage(empty.get());
    EXPECT_BAD_HANDLE(resize(nullptr, good.get(), 0));
    EXPECT_BAD_HANDLE(resize(good.get(), nullptr, 0));
    EXPECT_BAD_HANDLE(resize(empty.get(), good.get(), 0));
    EXPECT_BAD_HANDLE(resize(good.get(), empty.get(), 0));
}

// The resize gives what the engine's operation gives by the sizes' factors.
void expectEngineResult(Resize resize, const Image& src, int32_t width, int32_t height,
                        decltype(&iplZoom) operation, int32_t mode)
{
    const int32_t bitDepth = src->nChannels * static_cast<int32_t>(src->depth);
    const Image dst = makeHandle(width, height, bitDepth);
    const Image expected = makeHandle(width, height, bitDepth);
    EXPECT_EQ(resize(src.get(), dst.get(), mode), QUIB_OK);
    operation(src.get(), expected.get(), width, src->width, height, src->height, mode);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()))
        << bitDepth << " bits to " << width << " x " << height;
}

} // namespace

// --- QuibResize ------------------------------------------------------------------

TEST(QuibResize, RefusesBadHandles)
{
    expectBadHandlesRefused(QuibResize);
}

TEST(QuibResize, CopiesEqualLayoutsInEveryModeWithTheirPadding)
{
    Random random(1);
    for (const int32_t bitDepth : handleDepths) {
        for (const int32_t mode : manyModes) {
            const Image src = makeRandomHandle(13, 7, bitDepth, random);
            const Image dst = makeRandomHandle(13, 7, bitDepth, random);
            EXPECT_EQ(QuibResize(src.get(), dst.get(), mode), QUIB_OK);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get())) << bitDepth << " bits, " << mode;
        }
    }
}

TEST(QuibResize, LeavesAHandleResizedToItselfAsItIs)
{
    Random random(2);
    const Image image = makeRandomHandle(9, 5, 24, random);
    const std::vector<uint8_t> before = bytesOf(image.get());
    EXPECT_EQ(QuibResize(image.get(), image.get(), 1), QUIB_OK);
    EXPECT_EQ(bytesOf(image.get()), before);
}

TEST(QuibResize, Stretches32BitHandlesByTheirMode)
{
    Random random(3);
    forEachLevel([&random] {
        for (const int32_t mode :
             {0, 1, 2, 5, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, -1, 0x7002}) {
            for (int32_t round = 0; round < 10; ++round) {
                const int32_t height = random.between(1, 20) * 2;
                const Image src = makeRandomHandle(random.between(1, 40), height, 32, random);
                const GuardedHandle dst(random.between(1, 40), random.between(1, 20) * 2, 32);
                std::vector<uint8_t> expected(static_cast<size_t>(dst->imageSize));
                StretchPacked32(expected.data(), dst->width, dst->height,
                                reinterpret_cast<const uint8_t*>(src->imageData), src->width,
                                src->height, mode);
                EXPECT_EQ(QuibResize(src.get(), dst.get(), mode), QUIB_OK);
                if (src->width != dst->width || src->height != dst->height) {
                    EXPECT_EQ(bytesOf(dst.get()), expected);
                }
            }
        }
    });
}

TEST(QuibResize, Takes8BitHandlesByNearestInEveryMode)
{
    Random random(4);
    const Image src = makeRandomHandle(17, 11, 8, random);
    const Image nearest = makeHandle(30, 5, 8);
    ASSERT_EQ(QuibResize(src.get(), nearest.get(), 0), QUIB_OK);
    // Positions of columns are 17 / 30 apart, those of rows 11 / 5.
    EXPECT_EQ(element(nearest.get(), 1, 0, 0), element(src.get(), 0, 0, 0));
    EXPECT_EQ(element(nearest.get(), 2, 1, 0), element(src.get(), 1, 2, 0));
    EXPECT_EQ(element(nearest.get(), 29, 4, 0), element(src.get(), 16, 8, 0));
    for (const int32_t mode : {1, 2, 5, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, -1}) {
        const Image dst = makeHandle(30, 5, 8);
        EXPECT_EQ(QuibResize(src.get(), dst.get(), mode), QUIB_OK);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(nearest.get())) << mode;
    }
}

TEST(QuibResize, LeavesThePaddingOf8BitRowsAlone)
{
    Random random(5);
    const Image src = makeRandomHandle(9, 4, 8, random);
    const Image dst = makeRandomHandle(13, 8, 8, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    EXPECT_EQ(QuibResize(src.get(), dst.get(), 0), QUIB_OK);
    const std::vector<uint8_t> after = bytesOf(dst.get());
    for (size_t y = 0; y < 8; ++y)
        for (size_t x = 13; x < 16; ++x)
            EXPECT_EQ(after[y * 16 + x], before[y * 16 + x]);
}

TEST(QuibResize, TakesRoutesByBitsAPixelAlone)
{
    // One channel of floats, four signed channels and planes of bytes are 32
    // bits a pixel too: their words go through the stretcher.
    struct Kind {
        int32_t nChannels;
        uint32_t depth;
        int32_t dataOrder;
    };
    Random random(6);
    for (const Kind& kind : {Kind{1, IPL_DEPTH_32F, 0}, Kind{4, IPL_DEPTH_8S, 0},
                             Kind{4, IPL_DEPTH_8U, 1}, Kind{2, IPL_DEPTH_16U, 0}}) {
        const Image src = makeImage(8, 6, kind.nChannels, kind.depth, kind.dataOrder);
        const Image dst = makeImage(4, 3, kind.nChannels, kind.depth, kind.dataOrder);
        randomise(src.get(), random);
        EXPECT_EQ(QuibResize(src.get(), dst.get(), 0), QUIB_OK);
        std::vector<uint8_t> expected(4 * 3 * 4);
        const std::vector<uint8_t> from = bytesOf(src.get());
        StretchPacked32(expected.data(), 4, 3, from.data(), 8, 6, 0);
        EXPECT_EQ(bytesOf(dst.get()), expected);
    }
}

TEST(QuibResize, TakesTheRouteOf32BitsInEveryModeButAreas)
{
    Random random(20);
    for (const int32_t mode : {0, 1, 2, 5, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, -1}) {
        const Image src = makeImage(8, 6, 2, IPL_DEPTH_16U);
        const Image dst = makeImage(11, 4, 2, IPL_DEPTH_16U);
        randomise(src.get(), random);
        EXPECT_EQ(QuibResize(src.get(), dst.get(), mode), QUIB_OK);
        std::vector<uint8_t> expected(11 * 4 * 4);
        StretchPacked32(expected.data(), 11, 4, bytesOf(src.get()).data(), 8, 6, mode);
        EXPECT_EQ(bytesOf(dst.get()), expected) << mode;
    }
}

TEST(QuibResize, TakesTheEngineFor24BitsAndOneBitInEveryMode)
{
    Random random(22);
    for (const int32_t bitDepth : {1, 24}) {
        const Image src = makeRandomHandle(9, 6, bitDepth, random);
        for (const int32_t mode : {0, 1, 2}) {
            const Image dst = makeHandle(14, 9, bitDepth);
            const Image expected = makeHandle(14, 9, bitDepth);
            EXPECT_EQ(QuibResize(src.get(), dst.get(), mode), QUIB_OK);
            iplZoom(src.get(), expected.get(), 14, 9, 9, 6, mode);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << bitDepth << ", " << mode;
        }
        const Image dst = makeHandle(14, 9, bitDepth);
        for (const int32_t mode : {5, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, -1})
            EXPECT_REPORT(QuibResize(src.get(), dst.get(), mode), -5, "iplZoom", modeText,
                          "iplZoom");
    }
}

TEST(QuibResize, CopiesTheRowsOfOnePlaneAlone)
{
    Random random(23);
    for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_16U}) {
        for (const int32_t channels : {2, 3, 4, 5}) {
            for (const int32_t mode : {0, 1, 3}) {
                const Image src = makeImage(7, 4, channels, depth, IPL_DATA_ORDER_PLANE);
                const Image dst = makeImage(7, 4, channels, depth, IPL_DATA_ORDER_PLANE);
                randomise(src.get(), random);
                randomise(dst.get(), random);
                std::vector<uint8_t> expected = bytesOf(dst.get());
                const std::vector<uint8_t> from = bytesOf(src.get());
                std::copy_n(from.begin(), src->widthStep * 4, expected.begin());
                EXPECT_EQ(QuibResize(src.get(), dst.get(), mode), QUIB_OK);
                EXPECT_EQ(bytesOf(dst.get()), expected);
            }
        }
    }
}

TEST(QuibResize, StretchesEqualSizesOfAnotherLayout)
{
    // The same size with longer rows: not a copy, and the 32-bit route takes
    // rows as packed.
    Random random(7);
    const Image src = makeRandomHandle(6, 4, 32, random);
    const Image dst = makeHandle(8, 4, 32);
    dst->width = 6;
    EXPECT_EQ(QuibResize(src.get(), dst.get(), 1), QUIB_OK);
    std::vector<uint8_t> expected(6 * 4 * 4);
    StretchPacked32(expected.data(), 6, 4, reinterpret_cast<const uint8_t*>(src->imageData), 6, 4,
                    1);
    const std::vector<uint8_t> bytes = bytesOf(dst.get());
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + 96), expected);
}

TEST(QuibResize, GoesToTheEngineByTheRelationOfTheSizes)
{
    struct Row {
        int32_t width;
        int32_t height;
        decltype(&iplZoom) operation;
        int32_t mode;
    };
    Random random(8);
    for (const int32_t bitDepth : {1, 24}) {
        const Image src = makeRandomHandle(12, 12, bitDepth, random);
        for (const Row& row :
             {Row{17, 15, iplZoom, 1}, Row{12, 15, iplZoom, 2}, Row{17, 12, iplZoom, 0},
              Row{5, 7, iplDecimate, 1}, Row{4, 6, iplDecimate, 3}, Row{17, 6, iplResize, 1},
              Row{6, 17, iplResize, 2}, Row{12, 6, iplResize, 1}, Row{6, 12, iplResize, 3}}) {
            expectEngineResult(QuibResize, src, row.width, row.height, row.operation, row.mode);
        }
    }
}

TEST(QuibResize, AveragesShrinking8BitAnd32BitHandlesInMode3)
{
    Random random(9);
    for (const int32_t bitDepth : {8, 32}) {
        const Image src = makeRandomHandle(12, 8, bitDepth, random);
        expectEngineResult(QuibResize, src, 4, 4, iplDecimate, 3);
    }
}

TEST(QuibResize, FailsWhenMemoryForItsTablesRunsOut)
{
    Random random(31);
    for (const int32_t bitDepth : {8, 32}) {
        const Image src = makeRandomHandle(6, 6, bitDepth, random);
        const Image dst = makeRandomHandle(9, 5, bitDepth, random);
        const std::vector<uint8_t> before = bytesOf(dst.get());
        for (const int32_t mode : {0, 1}) {
            const FailingAllocation failing;
            EXPECT_EQ(QuibResize(src.get(), dst.get(), mode), QUIB_FAILED);
        }
        EXPECT_EQ(bytesOf(dst.get()), before);
    }
}

TEST(QuibResize, IgnoresRegionsInTheStretcher)
{
    Random random(10);
    for (const int32_t bitDepth : {8, 32}) {
        const Image src = makeRandomHandle(12, 8, bitDepth, random);
        const Image plain = makeHandle(20, 5, bitDepth);
        ASSERT_EQ(QuibResize(src.get(), plain.get(), 0), QUIB_OK);
        setRoi(src.get(), 1, 2, 2, 3, 3);
        const Image dst = makeHandle(20, 5, bitDepth);
        setRoi(dst.get(), 0, 1, 1, 2, 2);
        EXPECT_EQ(QuibResize(src.get(), dst.get(), 0), QUIB_OK);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(plain.get()));
    }
}

TEST(QuibResize, ChoosesEngineRoutesAndFactorsByTheWholeImages)
{
    // The regions grow and lie the other way round than the images, which are
    // halved; the engine keeps to the regions all the same.
    Random random(19);
    const Image src = makeRandomHandle(12, 12, 24, random);
    const Image dst = makeRandomHandle(6, 6, 24, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    setRoi(src.get(), 0, 2, 4, 5, 4);
    setRoi(dst.get(), 0, 1, 0, 5, 6);
    EXPECT_EQ(QuibResize(src.get(), dst.get(), 1), QUIB_OK);
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 0; x < 6; ++x)
            for (int32_t c = 0; c < 3; ++c) {
                // Halving is done by nearest; 5 x 4 pixels make 2 x 2 whole ones.
                const bool written = x >= 1 && x < 3 && y < 2;
                EXPECT_EQ(element(dst.get(), x, y, c),
                          written ? element(src.get(), 2 + 2 * (x - 1), 4 + 2 * y, c)
                                  : before[static_cast<size_t>(y * dst->widthStep + x * 3 + c)]);
            }
}

TEST(QuibResize, EndsTheProcessWhereTheEngineRefuses)
{
    Random random(11);
    const Image src = makeRandomHandle(6, 6, 24, random);
    const Image wider = makeRandomHandle(9, 3, 24, random);
    const Image larger = makeRandomHandle(9, 9, 24, random);
    const Image higher = makeRandomHandle(6, 9, 24, random);
    const Image gray = makeRandomHandle(9, 9, 8, random);
    EXPECT_REPORT(QuibResize(src.get(), wider.get(), 3), -5, "iplResize",
                  "(xDst > xSrc || yDst > ySrc)", "iplresiz");
    EXPECT_REPORT(QuibResize(src.get(), larger.get(), 3), -5, "iplZoom", modeText, "iplZoom");
    EXPECT_REPORT(QuibResize(src.get(), higher.get(), 3), -5, "iplZoom", modeText, "iplZoom");
    // Equal sizes of another layout are no reduction either.
    higher->height = 6;
    higher->widthStep = 24;
    EXPECT_REPORT(QuibResize(src.get(), higher.get(), 3), -5, "iplZoom", modeText, "iplZoom");
    EXPECT_REPORT(QuibResize(src.get(), gray.get(), 0), -2, "iplZoom",
                  "srcImage COI != dstImage COI", "iplZoom");
}

TEST(QuibResize, WritesNothingBehindThoseReports)
{
    const ReportsReturn reports;
    Random random(12);
    const Image src = makeRandomHandle(6, 6, 24, random);
    for (const int32_t height : {3, 9}) {
        const Image dst = makeRandomHandle(9, height, 24, random);
        const std::vector<uint8_t> before = bytesOf(dst.get());
        EXPECT_EQ(QuibResize(src.get(), dst.get(), 3), QUIB_OK);
        EXPECT_EQ(bytesOf(dst.get()), before);
    }
}

TEST(QuibResize, LeavesABadRecordToTheEngine)
{
    Random random(13);
    const Image good = makeRandomHandle(6, 6, 32, random);
    const Image bad = makeRandomHandle(6, 6, 32, random);
    bad->nChannels = 0;
    EXPECT_REPORT(QuibResize(bad.get(), good.get(), 0), -15, "iplZoom", "Incorrect Image",
                  "iplZoom");
}

TEST(QuibResize, RefusesTwoBadRecordsWithoutText)
{
    const CleanStatus clean;
    Random random(14);
    const Image first = makeRandomHandle(6, 6, 32, random);
    const Image second = makeRandomHandle(9, 9, 32, random);
    first->nChannels = 0;
    second->nChannels = 0;
    quibLastError[0] = 0;
    EXPECT_EQ(QuibResize(first.get(), second.get(), 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(quibLastError[0], 0);
}

// --- QuibResizeFit -----------------------------------------------------------------

TEST(QuibResizeFit, RefusesBadHandles)
{
    expectBadHandlesRefused(QuibResizeFit);
}

TEST(QuibResizeFit, GivesTheChecksOwnStatus)
{
    const CleanStatus clean;
    Random random(15);
    const Image good = makeRandomHandle(6, 6, 24, random);
    const Image bad = makeRandomHandle(6, 6, 24, random);
    bad->widthStep = 0;
    EXPECT_EQ(QuibResizeFit(bad.get(), good.get(), 0), -13);
    EXPECT_EQ(QuibResizeFit(good.get(), bad.get(), 0), -13);
    good->origin = 7;
    EXPECT_EQ(QuibResizeFit(good.get(), bad.get(), 0), -20);
}

TEST(QuibResizeFit, ScalesWholeImagesByTheEngine)
{
    Random random(16);
    for (const int32_t bitDepth : handleDepths) {
        const Image src = makeRandomHandle(10, 10, bitDepth, random);
        expectEngineResult(QuibResizeFit, src, 15, 6, iplResize, 1);
    }
}

TEST(QuibResizeFit, ScalesRegionsEachImageOnItsOwn)
{
    Random random(17);
    const Image src = makeRandomHandle(20, 10, 24, random);
    const Image dst = makeRandomHandle(20, 10, 24, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    setRoi(src.get(), 0, 4, 2, 6, 5);
    setRoi(dst.get(), 0, 3, 1, 12, 5);
    EXPECT_EQ(QuibResizeFit(src.get(), dst.get(), 0), QUIB_OK);
    for (int32_t y = 0; y < 10; ++y) {
        for (int32_t x = 0; x < 20; ++x) {
            const bool inside = x >= 3 && x < 15 && y >= 1 && y < 6;
            for (int32_t c = 0; c < 3; ++c)
                EXPECT_EQ(element(dst.get(), x, y, c),
                          inside ? element(src.get(), 4 + (x - 3) / 2, 2 + y - 1, c)
                                 : before[static_cast<size_t>(y * 60 + x * 3 + c)]);
        }
    }
}

TEST(QuibResizeFit, TakesTheSizesOfRegionsPastTheEdgeAsTheyStand)
{
    Random random(24);
    for (const auto& [srcRoi, dstRoi] :
         {std::pair{QuibRect{14, 6, 12, 9}, QuibRect{0, 0, 20, 10}},
          std::pair{QuibRect{0, 0, 10, 5}, QuibRect{15, 4, 20, 10}},
          std::pair{QuibRect{14, 6, 12, 9}, QuibRect{15, 4, 30, 18}}}) {
        const Image src = makeRandomHandle(20, 10, 24, random);
        const Image dst = makeRandomHandle(20, 10, 24, random);
        const Image expected(iplCloneImage(dst.get()));
        // left, top, width and height
        setRoi(src.get(), 0, srcRoi.left, srcRoi.top, srcRoi.right, srcRoi.bottom);
        setRoi(dst.get(), 0, dstRoi.left, dstRoi.top, dstRoi.right, dstRoi.bottom);
        setRoi(expected.get(), 0, dstRoi.left, dstRoi.top, dstRoi.right, dstRoi.bottom);
        EXPECT_EQ(QuibResizeFit(src.get(), dst.get(), 0), QUIB_OK);
        iplResize(src.get(), expected.get(), dstRoi.right, srcRoi.right, dstRoi.bottom,
                  srcRoi.bottom, 0);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
    }
}

TEST(QuibResizeFit, EndsTheProcessWhereTheEngineRefuses)
{
    Random random(18);
    const Image src = makeRandomHandle(6, 6, 32, random);
    const Image dst = makeRandomHandle(9, 9, 32, random);
    EXPECT_REPORT(QuibResizeFit(src.get(), dst.get(), 3), -5, "iplResize",
                  "(xDst > xSrc || yDst > ySrc)", "iplresiz");
    EXPECT_REPORT(QuibResizeFit(src.get(), dst.get(), STRETCH_PAIRS_LINEAR), -5, "iplZoom",
                  modeText, "iplZoom");
}
