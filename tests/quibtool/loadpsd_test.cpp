#include "quibtool/loadpsd.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/images.h"
#include "tests/support/report.h"
#include "tests/zxdll/frames.h"

#include <gtest/gtest.h>

namespace
{

IplImage* const untouchedImage = reinterpret_cast<IplImage*>(uintptr_t{16});

struct LoadedLayers {
    QuibStatus status;
    bool imageStored;
    bool maskStored;
    Image image;
    Image mask;
};

template<class Load>
LoadedLayers loadBy(Load load)
{
    IplImage* image = untouchedImage;
    IplImage* mask = untouchedImage;
    const QuibStatus status = load(&image, &mask);
    return {status, image != untouchedImage, mask != untouchedImage,
            Image(image == untouchedImage ? nullptr : image),
            Image(mask == untouchedImage ? nullptr : mask)};
}

LoadedLayers loadLayers(const char* fileName)
{
    return loadBy([fileName](IplImage** image, IplImage** mask) {
        return QuibLoadFramePsd2Bmp(fileName, image, mask);
    });
}

LoadedLayers loadLayers(const PsdFile& file)
{
    return loadLayers(TemporaryFile(psdBytes(file)).name());
}

// A mask's values as the engine gives them.
Bytes asGray(Bytes mask)
{
    for (uint8_t& value : mask)
        value = std::min<uint8_t>(value, 254);
    return mask;
}

// The first frame's pixels with the mask as alpha.
Bytes pictureOf(const PsdExpectedFrame& frame)
{
    const Bytes alpha = asGray(*frame.mask);
    const size_t pixelBytes = frame.withAlpha ? 4 : 3;
    Bytes pixels;
    for (size_t i = 0; i < alpha.size(); ++i) {
        const auto pixel = frame.colour.begin() + static_cast<ptrdiff_t>(i * pixelBytes);
        pixels.insert(pixels.end(), pixel, pixel + 3);
        pixels.push_back(alpha[i]);
    }
    return pixels;
}

// The rows of an 8-bit handle without padding.
Bytes planeOf(const IplImage* mask)
{
    Bytes plane;
    for (int32_t y = 0; y < mask->height; ++y)
        plane.insert(plane.end(), rowOf(mask, y), rowOf(mask, y) + mask->width);
    return plane;
}

void expectLoads(const LoadedLayers& loaded, const PsdFile& file)
{
    ASSERT_EQ(loaded.status, QUIB_OK);
    const std::vector<PsdExpectedFrame> frames = psdFrames(file);
    EXPECT_EQ(loaded.image->width, file.width);
    EXPECT_EQ(loaded.image->height, file.height);
    EXPECT_EQ(bytesOf(loaded.image.get()), pictureOf(frames[0]));
    EXPECT_EQ(loaded.mask->width, file.width);
    EXPECT_EQ(loaded.mask->height, file.height);
    EXPECT_EQ(planeOf(loaded.mask.get()), asGray(*frames[1].mask));
}

PsdFile twoLayers(bool transparent, bool masked, uint64_t seed = 1)
{
    Random random(seed);
    PsdFile file{7, 5};
    for (int32_t i = 0; i < 2; ++i)
        file.layers.push_back(
            psdRandomLayer(file, {1 - 3 * i, i, 6, 6}, transparent, masked, random));
    return file;
}

// A reader's block made by hand: bitmaps for the first frame's two words and the
// second frame's mask; none for an empty one.
class HandMade
{
public:
    HandMade(const Bytes& colour, const Bytes& mask, const Bytes& secondMask, ZxWord count = 2)
        : block(GlobalAlloc(GHND, sizeof(ZxImage)))
    {
        ZxImage* image = static_cast<ZxImage*>(GlobalLock(block));
        image->frameCount = count;
        image->frames[0].colour = blockOf(colour);
        image->frames[0].mask = blockOf(mask);
        image->frames[1].mask = blockOf(secondMask);
        GlobalUnlock(block);
    }
    ~HandMade()
    {
        // What a false count kept from being freed.
        for (const HGLOBAL handle : bitmaps)
            if (GlobalSize(handle) != 0)
                GlobalFree(handle);
    }
    HandMade(const HandMade&) = delete;
    HandMade& operator=(const HandMade&) = delete;

    HGLOBAL get() const { return block; }
    LoadedLayers take() const
    {
        return loadBy([this](IplImage** image, IplImage** mask) {
            return ownTakeFrames(block, image, mask);
        });
    }
    // Whether all blocks are gone.
    bool isDeleted() const
    {
        for (const HGLOBAL handle : bitmaps)
            if (GlobalSize(handle) != 0)
                return false;
        return GlobalSize(block) == 0;
    }

private:
    ZxWord blockOf(const Bytes& bytes)
    {
        if (bytes.empty())
            return 0;
        const HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
        std::memcpy(GlobalLock(handle), bytes.data(), bytes.size());
        GlobalUnlock(handle);
        bitmaps.push_back(handle);
        return reinterpret_cast<ZxWord>(handle);
    }

    std::vector<HGLOBAL> bitmaps;
    HGLOBAL block;
};

Bytes colourDib(int32_t bits = 32, int32_t width = 3, int32_t height = 2)
{
    Random random(static_cast<uint64_t>(bits));
    return randomDib(dibHeader(width, height, bits), random);
}

// With the reader's table.
Bytes maskDib(int32_t width = 3, int32_t height = 2)
{
    Bytes dib = colourDib(8, width, height);
    for (uint32_t v = 0; v < 256; ++v)
        put32(dib, 40 + 4 * v, std::min(v + 1, 255u) * 0x010101);
    return dib;
}

} // namespace

TEST(QuibLoadFramePsd2Bmp, RefusesNullArguments)
{
    const TemporaryFile file(psdBytes(twoLayers(true, true)));
    IplImage* out = untouchedImage;
    EXPECT_EQ(QuibLoadFramePsd2Bmp(nullptr, &out, &out), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibLoadFramePsd2Bmp(file.name(), nullptr, &out), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibLoadFramePsd2Bmp(file.name(), &out, nullptr), QUIB_BAD_ARGUMENT);
    // Not even looked for.
    EXPECT_EQ(QuibLoadFramePsd2Bmp("no such file", &out, nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(out, untouchedImage);
}

TEST(QuibLoadFramePsd2Bmp, RefusesFilesThatTheReaderRefuses)
{
    Bytes bad = psdBytes(twoLayers(true, true));
    bad.pop_back();
    const TemporaryFile cut(bad);
    for (const char* name : {"no such file", cut.name()}) {
        const LoadedLayers loaded = loadLayers(name);
        EXPECT_EQ(loaded.status, QUIB_BAD_ARGUMENT);
        EXPECT_FALSE(loaded.imageStored);
        EXPECT_FALSE(loaded.maskStored);
    }
}

TEST(QuibLoadFramePsd2Bmp, FailsForAnotherNumberOfFrames)
{
    for (const size_t count : {0, 1, 3, 4}) {
        PsdFile file = twoLayers(true, true);
        file.layers.resize(count, file.layers[0]);
        const LoadedLayers loaded = loadLayers(file);
        EXPECT_EQ(loaded.status, QUIB_FAILED) << count;
        EXPECT_FALSE(loaded.imageStored);
        EXPECT_FALSE(loaded.maskStored);
    }
    for (const char* name : {"agpsd_one.psd", "agpsd_three.psd", "agpsd_flat.psd"})
        EXPECT_EQ(loadLayers(psdPath(name).c_str()).status, QUIB_FAILED) << name;
}

TEST(QuibLoadFramePsd2Bmp, TakesTheFirstFramesMaskAsAlpha)
{
    for (const bool transparent : {false, true})
        expectLoads(loadLayers(twoLayers(transparent, true)), twoLayers(transparent, true));
}

TEST(QuibLoadFramePsd2Bmp, TakesTransparencyWhereThereIsNoMask)
{
    expectLoads(loadLayers(twoLayers(true, false)), twoLayers(true, false));
    PsdFile disabled = twoLayers(true, true);
    for (PsdLayer& layer : disabled.layers)
        layer.mask->flags = 2;
    expectLoads(loadLayers(disabled), disabled);
}

TEST(QuibLoadFramePsd2Bmp, FailsForAFirstFrameWithoutAMask)
{
    const LoadedLayers loaded = loadLayers(twoLayers(false, false));
    EXPECT_EQ(loaded.status, QUIB_FAILED);
    EXPECT_FALSE(loaded.imageStored);
    EXPECT_FALSE(loaded.maskStored);
}

TEST(QuibLoadFramePsd2Bmp, KeepsThePictureOfASecondFrameWithoutAMask)
{
    PsdFile file = twoLayers(true, true);
    file.layers[1].channels.erase(-1);
    file.layers[1].mask.reset();
    const LoadedLayers loaded = loadLayers(file);
    EXPECT_EQ(loaded.status, QUIB_FAILED);
    ASSERT_TRUE(loaded.imageStored);
    EXPECT_EQ(bytesOf(loaded.image.get()), pictureOf(psdFrames(file)[0]));
    EXPECT_FALSE(loaded.maskStored);
}

TEST(QuibLoadFramePsd2Bmp, GivesHandlesOfTheLibrary)
{
    const LoadedLayers loaded = loadLayers(twoLayers(true, true));
    QuibInfo info{};
    EXPECT_EQ(QuibGetInfo(loaded.image.get(), &info), QUIB_OK);
    EXPECT_EQ(info.bitDepth, 32);
    EXPECT_EQ(loaded.image->nChannels, 4);
    EXPECT_EQ(loaded.image->alphaChannel, 0);
    EXPECT_EQ(std::string(loaded.image->colorModel, 4), "RGBA");
    EXPECT_EQ(std::string(loaded.image->channelSeq, 4), "BGRA");
    EXPECT_EQ(QuibGetInfo(loaded.mask.get(), &info), QUIB_OK);
    EXPECT_EQ(info.bitDepth, 8);
    EXPECT_EQ(std::string(loaded.mask->colorModel, 4), "GRAY");
    EXPECT_EQ(std::string(loaded.mask->channelSeq, 4), "GRAY");
}

TEST(QuibLoadFramePsd2Bmp, KeepsEveryMaskValueBut255)
{
    PsdFile file{256, 1};
    PsdElements ramp;
    for (uint32_t v = 0; v < 256; ++v)
        ramp.push_back(v);
    PsdLayer layer{{0, 0, 256, 1}, {}, {}, 0, PsdCoding::raw};
    for (int32_t number = -1; number < 3; ++number)
        layer.channels[number] = ramp;
    file.layers.assign(2, layer);
    const LoadedLayers loaded = loadLayers(file);
    for (int32_t v = 0; v < 256; ++v) {
        EXPECT_EQ(rowOf(loaded.image.get(), 0)[4 * v + 3], std::min(v, 254));
        EXPECT_EQ(rowOf(loaded.image.get(), 0)[4 * v], v);
        EXPECT_EQ(rowOf(loaded.mask.get(), 0)[v], std::min(v, 254));
    }
}

TEST(QuibLoadFramePsd2Bmp, LoadsWhatOthersWrote)
{
    for (const char* name :
         {"agpsd_runs.psd", "agpsd_deflated.psd", "agpsd_large_runs.psb",
          "agpsd_large_deflated.psb", "agpsd_groups.psd", "gimp_rgb.psd", "gimp_gray.psd",
          "gimp_rgb16.psd", "gimp_gray16.psd", "gimp_group.psd"}) {
        SCOPED_TRACE(name);
        const std::string text = std::string(name).substr(0, std::string(name).find('.')) + ".txt";
        expectLoads(loadLayers(psdPath(name).c_str()), readPsdText(text));
    }
}

// --- Blocks made by hand ---------------------------------------------------------------------

TEST(TakeFrames, DeletesTheBlockAfterAll)
{
    const HandMade good(colourDib(), maskDib(), maskDib());
    const LoadedLayers loaded = good.take();
    EXPECT_EQ(loaded.status, QUIB_OK);
    EXPECT_TRUE(good.isDeleted());
    EXPECT_EQ(planeOf(loaded.mask.get()).size(), 6u);
}

TEST(TakeFrames, TestsTheCountBeforeTheFirstFramesWords)
{
    for (const ZxWord count : {0, 1})
        for (const Bytes& colour : {colourDib(), Bytes()}) {
            const HandMade made(colour, maskDib(), {}, count);
            const LoadedLayers loaded = made.take();
            EXPECT_EQ(loaded.status, QUIB_FAILED);
            EXPECT_FALSE(loaded.imageStored);
            EXPECT_FALSE(loaded.maskStored);
            EXPECT_EQ(GlobalSize(made.get()), 0u);
        }
}

TEST(TakeFrames, FailsWithoutTheFirstFramesBitmaps)
{
    for (const bool hasColour : {false, true}) {
        const HandMade made(hasColour ? colourDib() : Bytes(), hasColour ? Bytes() : maskDib(),
                            maskDib());
        const LoadedLayers loaded = made.take();
        EXPECT_EQ(loaded.status, QUIB_FAILED);
        EXPECT_FALSE(loaded.imageStored);
        EXPECT_FALSE(loaded.maskStored);
        EXPECT_TRUE(made.isDeleted());
    }
}

TEST(TakeFrames, FailsForBitmapsThatAreNoPictureWithAMask)
{
    // Of no depth that converts, of one channel, of four, of one bit.
    const struct {
        Bytes colour;
        Bytes mask;
    } pairs[] = {{colourDib(16), maskDib()},  {colourDib(4), maskDib()},
                 {maskDib(), maskDib()},      {colourDib(1), maskDib()},
                 {colourDib(), colourDib()},  {colourDib(), colourDib(24)},
                 {colourDib(), colourDib(1)}, {colourDib(), colourDib(16)}};
    for (const auto& pair : pairs) {
        const HandMade made(pair.colour, pair.mask, maskDib());
        const LoadedLayers loaded = made.take();
        EXPECT_EQ(loaded.status, QUIB_FAILED);
        EXPECT_FALSE(loaded.imageStored);
        EXPECT_FALSE(loaded.maskStored);
        EXPECT_TRUE(made.isDeleted());
    }
}

TEST(TakeFrames, TakesPicturesOf24Bits)
{
    const Bytes dib = dibWith(dibHeader(2, 1, 24), {1, 2, 3, 4, 5, 6, 0, 0});
    Bytes mask = maskDib(2, 1);
    mask[1064] = 200;
    mask[1065] = 100;
    const LoadedLayers loaded = HandMade(dib, mask, mask).take();
    ASSERT_EQ(loaded.status, QUIB_OK);
    EXPECT_EQ(bytesOf(loaded.image.get()), (Bytes{1, 2, 3, 200, 4, 5, 6, 100}));
}

TEST(TakeFrames, WalksThePicturesSizeOverALargerMask)
{
    const Bytes mask = maskDib(5, 4);
    const LoadedLayers loaded = HandMade(colourDib(), mask, mask).take();
    ASSERT_EQ(loaded.status, QUIB_OK);
    EXPECT_EQ(loaded.image->width, 3);
    EXPECT_EQ(loaded.mask->width, 5);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 3; ++x)
            EXPECT_EQ(rowOf(loaded.image.get(), y)[4 * x + 3], rowOf(loaded.mask.get(), y)[x]);
}

TEST(TakeFrames, FreesASecondMaskThatIsNone)
{
    for (const int32_t bits : {1, 24, 32}) {
        const HandMade made(colourDib(), maskDib(), colourDib(bits));
        const LoadedLayers loaded = made.take();
        EXPECT_EQ(loaded.status, QUIB_FAILED);
        EXPECT_NE(loaded.image, nullptr);
        EXPECT_TRUE(loaded.maskStored);
        EXPECT_EQ(loaded.mask, nullptr);
        EXPECT_TRUE(made.isDeleted());
    }
}

TEST(TakeFrames, StoresNullForASecondMaskThatCannotBeConverted)
{
    const HandMade made(colourDib(), maskDib(), colourDib(16));
    const LoadedLayers loaded = made.take();
    EXPECT_EQ(loaded.status, QUIB_FAILED);
    EXPECT_NE(loaded.image, nullptr);
    EXPECT_TRUE(loaded.maskStored);
    EXPECT_EQ(loaded.mask, nullptr);
    EXPECT_TRUE(made.isDeleted());
}

TEST(TakeFrames, FailsWithoutASecondMaskButKeepsThePicture)
{
    const HandMade made(colourDib(), maskDib(), {});
    const LoadedLayers loaded = made.take();
    EXPECT_EQ(loaded.status, QUIB_FAILED);
    EXPECT_NE(loaded.image, nullptr);
    EXPECT_FALSE(loaded.maskStored);
    EXPECT_TRUE(made.isDeleted());
}

TEST(TakeFrames, KeepsTheClonesStatus)
{
    // A failure that is on record stops the conversions: there are no pixels.
    const CleanStatus clean;
    iplSetStatus(-10);
    const HandMade made(colourDib(), maskDib(), maskDib());
    const LoadedLayers loaded = made.take();
    EXPECT_EQ(loaded.status, QUIB_BAD_ARGUMENT);
    EXPECT_FALSE(loaded.imageStored);
    EXPECT_TRUE(loaded.maskStored);
    EXPECT_TRUE(made.isDeleted());
}

// --- QuibDibToImage -----------------------------------------------------------------------------

TEST(QuibDibToImage, ChoosesTheRecordByTheBitCount)
{
    const struct {
        int32_t bits;
        int32_t nChannels;
        uint32_t depth;
    } kinds[] = {
        {1, 1, IPL_DEPTH_1U}, {8, 1, IPL_DEPTH_8U}, {24, 4, IPL_DEPTH_8U}, {32, 4, IPL_DEPTH_8U}};
    for (const auto& kind : kinds) {
        const Bytes dib = colourDib(kind.bits);
        const Image image(QuibDibToImage(dib.data()));
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->nChannels, kind.nChannels);
        EXPECT_EQ(image->depth, kind.depth);
        EXPECT_EQ(std::string(image->colorModel, 4), kind.nChannels == 1 ? "GRAY" : "RGBA");
        EXPECT_EQ(std::string(image->channelSeq, 4), kind.nChannels == 1 ? "GRAY" : "BGRA");
        EXPECT_EQ(image->alphaChannel, 0);
        EXPECT_EQ(image->dataOrder, IPL_DATA_ORDER_PIXEL);
        EXPECT_EQ(image->origin, IPL_ORIGIN_TL);
        EXPECT_EQ(image->align, 4);
        EXPECT_EQ(image->width, 3);
        EXPECT_EQ(image->height, 2);
        EXPECT_NE(image->imageData, nullptr);
    }
}

TEST(QuibDibToImage, GivesNullForOtherBitCountsAndForNothing)
{
    EXPECT_EQ(QuibDibToImage(nullptr), nullptr);
    for (const int32_t bits : {0, 2, 4, 16, 33, 48, 65535}) {
        const Bytes dib = dibWith(dibHeader(3, 2, bits), Bytes(64));
        EXPECT_EQ(QuibDibToImage(dib.data()), nullptr) << bits;
    }
}

TEST(QuibDibToImage, GivesNullWithoutMemoryForARecord)
{
    const Bytes dib = colourDib();
    const FailingAllocation failing;
    EXPECT_EQ(QuibDibToImage(dib.data()), nullptr);
}

TEST(QuibDibToImage, EndsTheProcessForSizesThatAreNone)
{
    const Bytes dib = dibWith(dibHeader(3, -2, 32), Bytes(64));
    EXPECT_REPORT(QuibDibToImage(dib.data()), -10, "iplCreateImageHeader", "Incorrect data-ins",
                  "iplalloc");
}
