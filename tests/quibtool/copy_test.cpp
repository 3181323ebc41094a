#include "quibtool/handle.h"

#include "_Src/ipl.h"
#include "tests/support/bad_handles.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

TEST(QuibCopy, RefusesABadSourceWithTheText)
{
    IplImage* target = nullptr;
    EXPECT_BAD_HANDLE(QuibCopy(nullptr, &target));
    EXPECT_BAD_HANDLE(QuibCopy(nullptr, nullptr));
    EXPECT_EQ(target, nullptr);
}

TEST(QuibCopy, TestsTheOutputBeforeTheRecord)
{
    const CleanStatus clean;
    const Image handle = wrappedHandle();
    quibLastError[0] = 0;
    EXPECT_EQ(QuibCopy(handle.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(iplGetStatus(), 0);
    EXPECT_EQ(quibLastError[0], 0);
    IplImage* target = nullptr;
    EXPECT_EQ(QuibCopy(handle.get(), &target), badSize);
    EXPECT_EQ(target, nullptr);
}

TEST(QuibCopy, CreatesATargetOfTheSourcesKind)
{
    Random random(1);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        for (int32_t width = 1; width < 20; ++width) {
            const Image src = makeRandomHandle(width, 5, bitDepth, random);
            IplImage* target = nullptr;
            ASSERT_EQ(QuibCopy(src.get(), &target), QUIB_OK);
            const Image owner(target);
            EXPECT_EQ(bytesOf(target), bytesOf(src.get()));
            QuibInfo info{};
            EXPECT_EQ(QuibGetInfo(target, &info), QUIB_OK);
            EXPECT_EQ(info.width, width);
            EXPECT_EQ(info.bitDepth, bitDepth);
        }
    }
}

TEST(QuibCopy, PassesOnThatNoHandleHasTheSourcesDepth)
{
    const Image deep = makeImage(3, 3, 1, IPL_DEPTH_16U);
    IplImage* target = nullptr;
    EXPECT_EQ(QuibCopy(deep.get(), &target), QUIB_BAD_DEPTH);
    EXPECT_EQ(target, nullptr);
    const Image narrow = makeImage(3, 3, 1, IPL_DEPTH_8S);
    EXPECT_EQ(QuibCopy(narrow.get(), &target), QUIB_BAD_DEPTH);
}

TEST(QuibCopy, CopiesRowsFromStartToStartIntoAnExistingTarget)
{
    forEachLevel([] {
        Random random(2);
        for (int32_t width = 1; width < 60; ++width) {
            const GuardedHandle src(width, 3, 24);
            randomise(src.get(), random);
            src.makeReadOnly();
            // The target is larger and of another shape: the bytes run on.
            const Image dst = makeRandomHandle(width + 5, 4, 32, random);
            std::vector<uint8_t> expected = bytesOf(dst.get());
            const std::vector<uint8_t> moved = bytesOf(src.get());
            std::copy(moved.begin(), moved.end(), expected.begin());
            IplImage* target = dst.get();
            ASSERT_EQ(QuibCopy(src.get(), &target), QUIB_OK);
            ASSERT_EQ(target, dst.get());
            ASSERT_EQ(bytesOf(dst.get()), expected);
        }
    });
}

TEST(QuibCopy, MovesTheRowsOfOnePlaneOnly)
{
    Random random(3);
    const Image src = makeImage(8, 4, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    randomise(src.get(), random);
    const Image dst = makeImage(8, 4, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    IplImage* target = dst.get();
    EXPECT_EQ(QuibCopy(src.get(), &target), QUIB_OK);
    for (int32_t i = 0; i < 96; ++i)
        EXPECT_EQ(dst->imageData[i], i < 32 ? src->imageData[i] : 0);
}

TEST(QuibCopy, LeavesRegionAndMaskOutOfIt)
{
    Random random(4);
    const Image src = makeRandomHandle(9, 4, 8, random);
    setRoi(src.get(), 0, 1, 1, 2, 2);
    giveRandomMask(src.get(), 9, 4, random);
    const Image dst = makeHandle(9, 4, 8);
    IplImage* target = dst.get();
    EXPECT_EQ(QuibCopy(src.get(), &target), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get()));
    EXPECT_EQ(dst->roi, nullptr);
    EXPECT_EQ(dst->maskROI, nullptr);
}

TEST(QuibCopy, OntoItselfKeepsTheBytes)
{
    Random random(5);
    const Image handle = makeRandomHandle(9, 4, 24, random);
    const std::vector<uint8_t> before = bytesOf(handle.get());
    IplImage* target = handle.get();
    EXPECT_EQ(QuibCopy(handle.get(), &target), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), before);
}

TEST(QuibCopy, WritesToNoTargetWhosePixelsAreGone)
{
    const Image src = makeHandle(9, 4, 24);
    Image dst = makeHandle(9, 4, 24);
    iplDeallocateImage(dst.get());
    IplImage* target = dst.get();
    quibLastError[0] = 0;
    EXPECT_EQ(QuibCopy(src.get(), &target), QUIB_OK);
    EXPECT_GE(takeErrorRow(), 0);
}

TEST(QuibCopy, StaysInsideATargetOfItsOwnMaking)
{
    // A wider pitch than a handle of the same size has.
    Random random(6);
    const Image src = makeImage(3, 20, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 32);
    randomise(src.get(), random);
    IplImage* target = nullptr;
    ASSERT_EQ(QuibCopy(src.get(), &target), QUIB_OK);
    const Image owner(target);
    ASSERT_EQ(target->imageSize, 80);
    EXPECT_EQ(std::memcmp(target->imageData, src->imageData, 80), 0);
}

TEST(QuibClone, RefusesBadArgumentsInTheirOrder)
{
    const CleanStatus clean;
    IplImage* out = nullptr;
    EXPECT_BAD_HANDLE(QuibClone(nullptr, nullptr));
    const Image handle = wrappedHandle();
    EXPECT_EQ(QuibClone(handle.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(iplGetStatus(), 0);
    EXPECT_EQ(quibLastError[0], 0);
    EXPECT_EQ(QuibClone(handle.get(), &out), badSize);
    EXPECT_EQ(out, nullptr);
}

TEST(QuibClone, ClonesWithoutTheMask)
{
    Random random(7);
    const Image src = makeRandomHandle(9, 4, 8, random);
    setRoi(src.get(), 1, 2, 1, 3, 2);
    giveRandomMask(src.get(), 9, 4, random);
    IplImage* out = reinterpret_cast<IplImage*>(&random); // whatever it held is replaced
    ASSERT_EQ(QuibClone(src.get(), &out), QUIB_OK);
    const Image clone(out);
    EXPECT_EQ(bytesOf(out), bytesOf(src.get()));
    EXPECT_EQ(out->maskROI, nullptr);
    ASSERT_NE(out->roi, nullptr);
    EXPECT_EQ(out->roi->xOffset, 2);
}

TEST(QuibClone, FailsWhenTheEngineGivesNoImage)
{
    const ReportsReturn reportsReturn;
    const Image handle = makeHandle(5, 5, 32);
    handle->width = 65536;
    handle->height = 16385;
    IplImage* out = handle.get();
    EXPECT_EQ(QuibClone(handle.get(), &out), QUIB_FAILED);
    EXPECT_EQ(out, nullptr);
}

TEST(QuibClone, FailsWhenMemoryRunsOut)
{
    const ReportsReturn reportsReturn;
    const Image handle = makeHandle(5, 5, 32);
    for (const int32_t allocation : {0, 1}) {
        IplImage* out = handle.get();
        const FailingAllocation failing(allocation);
        EXPECT_EQ(QuibClone(handle.get(), &out), QUIB_FAILED);
        EXPECT_EQ(out, nullptr);
    }
}

TEST(QuibCopy, PassesOnThatMemoryForATargetRanOut)
{
    const Image handle = makeHandle(5, 5, 32);
    IplImage* target = nullptr;
    const FailingAllocation failing;
    EXPECT_EQ(QuibCopy(handle.get(), &target), QUIB_NO_HEADER);
    EXPECT_EQ(target, nullptr);
}
