#include "_Src/window/iplborde.h"

#include "_Src/image/check.h"
#include "_Src/walk/region.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/tiles.h"
#include "tests/support/window.h"

#include <cstdlib>

namespace
{

struct FreeBlock {
    void operator()(char* block) const { std::free(block); }
};

// The copy as an image of the window's size.
class Copy
{
public:
    Copy(const IplImage* image, const IplRect& window)
        : block(ownBorderCopy(image, window.x, window.y, window.width, window.height, &rowLength)),
          record(*image)
    {
        record.roi = nullptr;
        record.maskROI = nullptr;
        record.tileInfo = nullptr;
        record.width = window.width;
        record.height = window.height;
        record.widthStep = rowLength;
        record.imageData = block.get();
    }
    const IplImage* get() const { return &record; }

    int32_t rowLength = -1;
    std::unique_ptr<char, FreeBlock> block;

private:
    IplImage record;
};

// A row of 8-bit elements with one mode on all sides.
Image makeRow(std::initializer_list<uint8_t> values, int32_t mode)
{
    Image image = makeImage(static_cast<int32_t>(values.size()), 1, 1, IPL_DEPTH_8U);
    std::copy(values.begin(), values.end(), rowOf(image.get(), 0));
    iplSetBorderMode(image.get(), mode, 15, 99);
    return image;
}

std::vector<int> copyRow(const IplImage* image, int32_t x, int32_t width, int32_t y = 0)
{
    const Copy copy(image, {x, y, width, 1});
    std::vector<int> row;
    for (int32_t i = 0; i < width; ++i)
        row.push_back(static_cast<int>(element(copy.get(), i, 0, 0)));
    return row;
}

using Row = std::vector<int>;

void expectPlainCopy(const IplImage* image, const IplImage* pixels, const IplRect& window)
{
    const Copy copy(image, window);
    ASSERT_NE(copy.block, nullptr);
    const int64_t rowBits = static_cast<int64_t>(window.width) * ownDepthBits(image->depth) *
                            (image->dataOrder == IPL_DATA_ORDER_PIXEL ? image->nChannels : 1);
    const int64_t unit = image->align * 8;
    ASSERT_EQ(copy.rowLength, (rowBits + unit - 1) / unit * image->align);
    for (int32_t y = 0; y < window.height; ++y)
        for (int32_t x = 0; x < window.width; ++x)
            for (int32_t c = 0; c < image->nChannels; ++c)
                ASSERT_EQ(element(copy.get(), x, y, c),
                          elementAround(pixels, window.x + x, window.y + y, c))
                    << describe(pixels) << " at " << window.x + x << ", " << window.y + y;
    for (int32_t y = 0; y < window.height; ++y) {
        const uint8_t* row = rowOf(copy.get(), y);
        for (int64_t bit = rowBits; bit < copy.rowLength * int64_t{8}; ++bit)
            ASSERT_EQ(row[bit / 8] >> (7 - bit % 8) & 1, 0) << "padding";
    }
}

Image makeRandomBordered(uint32_t depth, Random& random)
{
    const int32_t channels = depth == IPL_DEPTH_1U ? 1 : random.between(1, 4);
    Image image = makeImage(random.between(1, 20), random.between(1, 9), channels, depth,
                            random.between(0, 1), 4 << random.between(0, 3));
    randomise(image.get(), random);
    giveRandomBorders(image.get(), random);
    return image;
}

IplRect randomWindow(const IplImage* image, Random& random)
{
    return {random.between(-2 * image->width - 9, image->width + 9),
            random.between(-2 * image->height - 5, image->height + 5), random.between(1, 60),
            random.between(1, 20)};
}

} // namespace

TEST(BorderCopy, ConstantFillsAllAround)
{
    const Image image = makeRow({1, 2, 3}, 0);
    EXPECT_EQ(copyRow(image.get(), -2, 7), (Row{99, 99, 1, 2, 3, 99, 99}));
    EXPECT_EQ(copyRow(image.get(), 0, 3, -1), (Row{99, 99, 99}));
    EXPECT_EQ(copyRow(image.get(), 0, 3, 1), (Row{99, 99, 99}));
}

TEST(BorderCopy, ReplicateRepeatsTheEdge)
{
    const Image image = makeRow({1, 2, 3}, 1);
    EXPECT_EQ(copyRow(image.get(), -4, 11), (Row{1, 1, 1, 1, 1, 2, 3, 3, 3, 3, 3}));
    EXPECT_EQ(copyRow(image.get(), -1, 5, -3), (Row{1, 1, 2, 3, 3}));
}

TEST(BorderCopy, ReflectDoublesTheEdgePixel)
{
    const Image image = makeRow({1, 2, 3}, 2);
    EXPECT_EQ(copyRow(image.get(), -1, 1), (Row{1}));
    EXPECT_EQ(copyRow(image.get(), -4, 1), (Row{3})); // -W - 1 reads W - 1
    EXPECT_EQ(copyRow(image.get(), -3, 9), (Row{3, 2, 1, 1, 2, 3, 3, 2, 1}));
}

TEST(BorderCopy, ReflectFoldsTwiceAndOften)
{
    const Image image = makeRow({1, 2, 3}, 2);
    EXPECT_EQ(copyRow(image.get(), -7, 7), (Row{1, 1, 2, 3, 3, 2, 1})); // 2 * W + 1 to the left
    EXPECT_EQ(copyRow(image.get(), 3, 10), (Row{3, 2, 1, 1, 2, 3, 3, 2, 1, 1}));
}

TEST(BorderCopy, WrapRepeatsTheImage)
{
    const Image image = makeRow({1, 2, 3}, 3);
    EXPECT_EQ(copyRow(image.get(), -5, 13), (Row{2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2}));
}

TEST(BorderCopy, OnePixelServesEverywhere)
{
    for (const int32_t mode : {1, 2, 3}) {
        const Image image = makeRow({7}, mode);
        EXPECT_EQ(copyRow(image.get(), -3, 7), (Row{7, 7, 7, 7, 7, 7, 7}));
        EXPECT_EQ(copyRow(image.get(), -3, 7, -5), (Row{7, 7, 7, 7, 7, 7, 7}));
    }
}

TEST(BorderCopy, CornersBelongToTopAndBottom)
{
    Image image = makeRow({1, 2, 3}, 0);
    for (int32_t side = 0; side < 4; ++side)
        image->BorderConst[side] = 10 + side;
    EXPECT_EQ(copyRow(image.get(), -1, 5, -1), (Row{10, 10, 10, 10, 10}));
    EXPECT_EQ(copyRow(image.get(), -1, 5, 0), (Row{12, 1, 2, 3, 13}));
    EXPECT_EQ(copyRow(image.get(), -1, 5, 1), (Row{11, 11, 11, 11, 11}));
    // The mode folds columns too.
    image->BorderMode[IPL_SIDE_TOP] = IPL_BORDER_WRAP;
    EXPECT_EQ(copyRow(image.get(), -1, 5, -1), (Row{3, 1, 2, 3, 1}));
}

TEST(BorderCopy, ConstantsAreCutToTheDepth)
{
    struct Case {
        uint32_t depth;
        int32_t constant;
        double expected;
    };
    for (const auto& [depth, constant, expected] :
         {Case{IPL_DEPTH_1U, 2, 0}, Case{IPL_DEPTH_1U, 7, 1}, Case{IPL_DEPTH_8U, 300, 44},
          Case{IPL_DEPTH_8S, 255, -1}, Case{IPL_DEPTH_16U, -1, 65535},
          Case{IPL_DEPTH_16S, 32768, -32768}, Case{IPL_DEPTH_32S, -70000, -70000},
          Case{IPL_DEPTH_32F, -3, -3}}) {
        const Image image = makeImage(1, 1, 1, depth);
        image->BorderConst[IPL_SIDE_LEFT] = constant;
        const Copy copy(image.get(), {-1, 0, 2, 1});
        EXPECT_EQ(element(copy.get(), 0, 0, 0), expected) << depth;
        EXPECT_EQ(element(copy.get(), 1, 0, 0), 0) << depth;
    }
}

TEST(BorderCopy, ExtremePlacesFold)
{
    const Image image = makeRow({1, 2, 3}, 3);
    EXPECT_EQ(copyRow(image.get(), INT32_MIN, 3), (Row{2, 3, 1}));
    EXPECT_EQ(copyRow(image.get(), INT32_MAX, 3), (Row{2, 3, 1}));
    EXPECT_EQ(copyRow(image.get(), 0, 3, INT32_MIN), (Row{1, 2, 3}));
}

TEST(BorderCopy, RefusesWhatItCannotLayOut)
{
    Random random(1);
    Image image = makeRandomBordered(IPL_DEPTH_8U, random);
    int32_t length = 0;
    const auto copies = [&](const IplImage& record, int32_t width, int32_t height) {
        char* block = ownBorderCopy(&record, 0, 0, width, height, &length);
        std::free(block);
        return block != nullptr;
    };
    EXPECT_TRUE(copies(*image, 1, 1));
    IplImage bad = *image;
    bad.dataOrder = 2;
    EXPECT_FALSE(copies(bad, 1, 1));
    bad = *image;
    bad.depth = 9;
    EXPECT_FALSE(copies(bad, 1, 1));
    bad = *image;
    bad.align = 2;
    EXPECT_FALSE(copies(bad, 1, 1));
    EXPECT_FALSE(copies(*image, 0, 1));
    EXPECT_FALSE(copies(*image, 1, 0));
    EXPECT_FALSE(copies(*image, INT32_MAX, 1));
    EXPECT_FALSE(copies(*image, INT32_MAX, INT32_MAX));
    EXPECT_FALSE(copies(*image, 65536, 65536));
}

TEST(BorderCopy, WithoutMemoryThereIsNoBlock)
{
    for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U}) {
        const Image image = makeImage(5, 5, 1, depth);
        int32_t length = 0;
        for (int32_t passing = 0; passing < (depth == IPL_DEPTH_1U ? 3 : 1); ++passing) {
            FailingAllocation failure(passing);
            EXPECT_EQ(ownBorderCopy(image.get(), -1, -1, 7, 7, &length), nullptr) << passing;
        }
    }
}

TEST(BorderCopy, ReleasedWithTheRecordThatHoldsIt)
{
    const Image image = makeRow({1, 2, 3}, 1);
    Image holder(iplCreateImageHeader(1, 0, IPL_DEPTH_8U, "GRAY", "GRAY", 0, 0, 4, 5, 3, nullptr,
                                      nullptr, nullptr, nullptr));
    holder->imageDataOrigin = ownBorderCopy(image.get(), -1, -1, 5, 3, &holder->widthStep);
    holder->imageData = holder->imageDataOrigin;
    EXPECT_EQ(element(holder.get(), 4, 2, 0), 3);
}

TEST(BorderCopy, EveryDepthAndModeIsTheTexts)
{
    Random random(42);
    for (const uint32_t depth : allDepths) {
        for (int i = 0; i < 150; ++i) {
            const Image image = makeRandomBordered(depth, random);
            expectPlainCopy(image.get(), image.get(), randomWindow(image.get(), random));
        }
    }
}

TEST(BorderCopy, TilesGiveTheSameCopy)
{
    Random random(43);
    for (const uint32_t depth : allDepths) {
        for (int i = 0; i < 60; ++i) {
            const Image image = makeRandomBordered(depth, random);
            const TiledImage tiled(image.get(), 8 * random.between(1, 2), 8);
            std::copy_n(image->BorderMode, 4, tiled->BorderMode);
            std::copy_n(image->BorderConst, 4, tiled->BorderConst);
            expectPlainCopy(tiled.get(), image.get(), randomWindow(image.get(), random));
        }
    }
}

TEST(BorderCopy, AWindowOnATileFetchesThatTile)
{
    Random random(44);
    Image image = makeImage(40, 40, 1, IPL_DEPTH_1U);
    randomise(image.get(), random);
    const TiledImage tiled(image.get(), 16, 8);
    expectPlainCopy(tiled.get(), image.get(), {17, 9, 10, 5});
    EXPECT_EQ(tiled.log, fetches(toRead, {{1, 1}}));
}

TEST(BorderCopy, AMissingTileGivesNoBlock)
{
    Random random(45);
    Image image = makeImage(40, 40, 3, IPL_DEPTH_16U, IPL_DATA_ORDER_PLANE);
    randomise(image.get(), random);
    TiledImage tiled(image.get(), 16, 8);
    for (tiled.failFrom = 0; tiled.failFrom < 9; tiled.failFrom += 2) {
        int32_t length = 0;
        tiled.log.clear();
        EXPECT_EQ(ownBorderCopy(tiled.get(), -3, -3, 50, 46, &length), nullptr);
        EXPECT_EQ(tiled.log.size(), static_cast<size_t>(tiled.failFrom) + 1);
    }
}

TEST(BorderCopy, ReadsNothingOutsideTheBlock)
{
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            const GuardedHandle image(37, 5, bitDepth, guard);
            iplSetBorderMode(image.get(), IPL_BORDER_REFLECT, 15, 0);
            image.makeReadOnly();
            expectPlainCopy(image.get(), image.get(), {-40, -6, 120, 20});
        }
    }
}
