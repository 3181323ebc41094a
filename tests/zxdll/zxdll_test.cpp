#include "zxdll/zxdll.h"

#include "tests/support/failing_allocation.h"
#include "tests/zxdll/counted_blocks.h"
#include "tests/zxdll/frames.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <filesystem>
#include <limits>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{

constexpr PsdCoding codings[] = {PsdCoding::raw, PsdCoding::runs, PsdCoding::deflated,
                                 PsdCoding::differences};

// Two layers, partly off the canvas, the lower one with a mask.
PsdFile randomFile(uint16_t version, uint16_t depth, uint16_t mode, PsdCoding coding,
                   Random& random)
{
    PsdFile file{random.between(5, 30), random.between(5, 30), version, depth, mode};
    if (mode == 2) {
        file.palette.resize(768);
        random.fill(file.palette.data(), file.palette.size());
    }
    for (const bool upper : {false, true}) {
        const PsdArea area{random.between(-8, 8), random.between(-8, 8), random.between(1, 40),
                           random.between(1, 40)};
        file.layers.push_back(psdRandomLayer(file, area, upper || random.coin(), !upper, random));
        file.layers.back().coding = coding;
    }
    file.inBlock = random.coin();
    return file;
}

PsdFile smallFile(PsdCoding coding = PsdCoding::runs)
{
    Random random(7);
    PsdFile file{6, 5};
    for (const bool upper : {false, true}) {
        file.layers.push_back(psdRandomLayer(file, {1, 1, 4, 3}, true, !upper, random));
        file.layers.back().coding = coding;
    }
    return file;
}

// One opaque layer that fills the canvas, of these elements.
PsdFile filled(int32_t width, int32_t height, uint16_t mode, uint16_t depth,
               std::initializer_list<PsdElements> channels)
{
    PsdFile file{width, height, 1, depth, mode};
    PsdLayer layer{{0, 0, width, height}, {}, {}, 0, PsdCoding::raw};
    for (const PsdElements& elements : channels)
        layer.channels[static_cast<int32_t>(layer.channels.size())] = elements;
    file.layers.push_back(layer);
    return file;
}

Bytes firstPixels(const PsdFile& file)
{
    const LoadedPsd loaded(psdBytes(file));
    if (!loaded)
        return {};
    const HGLOBAL block = reinterpret_cast<HGLOBAL>(loaded.words()[23]);
    BITMAPINFOHEADER header;
    std::memcpy(&header, GlobalLock(block), sizeof header);
    GlobalUnlock(block);
    return bitmapPixels(block, header);
}

uint32_t floatBits(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, 4);
    return bits;
}

// Where the small files' parts begin.
constexpr size_t sectionStart = 26 + 4 + 4 + 6;
constexpr size_t countStart = sectionStart + 8;
constexpr size_t recordStart = countStart + 2;

Bytes with(Bytes bytes, size_t offset, uint64_t value, int32_t width)
{
    for (int32_t i = 0; i < width; ++i)
        bytes[offset + static_cast<size_t>(i)] =
            static_cast<uint8_t>(value >> (8 * (width - 1 - i)));
    return bytes;
}

} // namespace

// --- What others wrote ---------------------------------------------------------------------

class PsdOfOthers : public testing::TestWithParam<const char*>
{
};

TEST_P(PsdOfOthers, LoadsAsTheyMadeIt)
{
    const std::string name = GetParam();
    const PsdFile file = readPsdText(name.substr(0, name.find('.')) + ".txt");
    expectFrames(LoadedPsd(psdPath(name).c_str()), psdFrames(file), file.width, file.height);
}

TEST_P(PsdOfOthers, LoadsWithoutWhatFollowsTheLayersAndNotWithLess)
{
    const Bytes whole = bytesOfFile(psdPath(GetParam()));
    const auto loadsCut = [&whole](size_t size) {
        return loads(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)));
    };
    size_t tooFew = 0;
    size_t least = whole.size();
    while (tooFew + 1 < least) {
        const size_t middle = (tooFew + least) / 2;
        (loadsCut(middle) ? least : tooFew) = middle;
    }
    ASSERT_LT(least, whole.size());
    for (size_t size = 0; size < least; size += 1 + least / 40)
        EXPECT_FALSE(loadsCut(size)) << size;
    const PsdFile file =
        readPsdText(std::string(GetParam()).substr(0, std::string(GetParam()).find('.')) + ".txt");
    for (size_t size = least; size < whole.size(); size += 1 + (whole.size() - least) / 10)
        expectFrames(LoadedPsd(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size))),
                     psdFrames(file), file.width, file.height);
}

INSTANTIATE_TEST_SUITE_P(All, PsdOfOthers,
                         testing::Values("agpsd_runs.psd", "agpsd_deflated.psd",
                                         "agpsd_large_runs.psb", "agpsd_large_deflated.psb",
                                         "agpsd_background.psd", "agpsd_groups.psd",
                                         "agpsd_one.psd", "agpsd_three.psd", "agpsd_flat.psd",
                                         "gimp_rgb.psd", "gimp_gray.psd", "gimp_rgb16.psd",
                                         "gimp_gray16.psd", "gimp_group.psd"),
                         [](const auto& made) {
                             const std::string name = made.param;
                             return name.substr(0, name.find('.'));
                         });

// --- The block -------------------------------------------------------------------------------

TEST(ZxLoadPsdFileAsImage, LaysTheBlockOutInWords)
{
    const LoadedPsd loaded(psdBytes(smallFile()));
    const std::vector<ZxWord> words = loaded.words();
    ASSERT_GE(words.size(), size_t{23 + 75 * 2});
    EXPECT_EQ(words[22], 2u);
    for (size_t i = 0; i < 23 + 75 * 2; ++i)
        EXPECT_EQ(words[i] != 0, i == 22 || i == 23 || i == 24 || i == 98 || i == 99) << i;
    if (sizeof(void*) == 4) {
        EXPECT_EQ(offsetof(ZxImage, frameCount), 88u);
        EXPECT_EQ(offsetof(ZxImage, frames), 92u);
        EXPECT_EQ(offsetof(ZxImage, frames) + sizeof(ZxFrame), 392u);
    }
    EXPECT_EQ(GlobalFlags(loaded.get()) & GMEM_LOCKCOUNT, 0u);
}

TEST(ZxLoadPsdFileAsImage, HasRoomForTwoFramesWhateverTheirNumber)
{
    PsdFile file = smallFile();
    file.layers.clear();
    const LoadedPsd loaded(psdBytes(file));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded.frameCount(), 0u);
    EXPECT_GE(loaded.words().size(), size_t{23 + 75 * 2});
}

TEST(ZxLoadPsdFileAsImage, GivesMasksAGrayTableThatTheEnginesWeightsUndo)
{
    const LoadedPsd loaded(psdBytes(smallFile()));
    const HGLOBAL block = reinterpret_cast<HGLOBAL>(loaded.words()[24]);
    const uint8_t* table = static_cast<const uint8_t*>(GlobalLock(block)) + 40;
    for (uint32_t v = 0; v < 256; ++v) {
        const uint8_t gray = static_cast<uint8_t>(v < 255 ? v + 1 : 255);
        const uint8_t entry[4] = {gray, gray, gray, 0};
        EXPECT_EQ(std::memcmp(table + v * 4, entry, 4), 0) << v;
    }
    GlobalUnlock(block);
}

TEST(ZxImageDelete, IgnoresWhatIsNoImage)
{
    ZxImageDelete(nullptr);
    const CountedBlocks blocks;
    const HGLOBAL image = ZxLoadPsdFileAsImage(TemporaryFile(psdBytes(smallFile())).name());
    ASSERT_NE(image, nullptr);
    if (blocksAreCounted) {
        EXPECT_EQ(blocks.live(), 5);
    }
    ZxImageDelete(image);
    EXPECT_EQ(blocks.live(), 0);
}

// --- Kinds of files -----------------------------------------------------------------------------

TEST(ZxLoadPsdFileAsImage, LoadsEveryVersionDepthModeAndCoding)
{
    Random random(1);
    for (const uint16_t version : {uint16_t{1}, uint16_t{2}}) {
        for (const uint16_t depth : {uint16_t{8}, uint16_t{16}, uint16_t{32}}) {
            for (uint16_t mode = 1; mode <= 4; ++mode) {
                if (mode == 2 && depth != 8)
                    continue;
                for (const PsdCoding coding : codings) {
                    SCOPED_TRACE("version " + std::to_string(version) + ", depth " +
                                 std::to_string(depth) + ", mode " + std::to_string(mode) +
                                 ", coding " + std::to_string(static_cast<int>(coding)));
                    expectLoads(randomFile(version, depth, mode, coding, random));
                }
            }
        }
    }
}

TEST(ZxLoadPsdFileAsImage, Takes16BitsByTheirHighByte)
{
    EXPECT_EQ(firstPixels(filled(3, 1, 1, 16, {{0x00FF, 0x7FFF, 0xFF00}})),
              (Bytes{0, 0, 0, 0x7F, 0x7F, 0x7F, 0xFF, 0xFF, 0xFF}));
}

TEST(ZxLoadPsdFileAsImage, TakesFloatsLinearlyAndClampsThem)
{
    const float values[] = {0.0f,
                            -0.0f,
                            -1.0f,
                            0.5f,
                            1.0f,
                            1.5f,
                            1e30f,
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN(),
                            FLT_MIN,
                            0.2f};
    const uint8_t levels[] = {0, 0, 0, 128, 255, 255, 255, 255, 0, 0, 0, 51};
    PsdElements elements;
    for (const float value : values)
        elements.push_back(floatBits(value));
    Bytes expected;
    for (const uint8_t level : levels)
        expected.insert(expected.end(), 3, level);
    EXPECT_EQ(firstPixels(filled(12, 1, 1, 32, {elements})), expected);
}

TEST(ZxLoadPsdFileAsImage, TakesInksForComplements)
{
    // No ink is 255. Cyan, magenta, yellow, black.
    const PsdFile file = filled(5, 1, 4, 8,
                                {{255, 0, 255, 100, 255},
                                 {255, 255, 255, 200, 255},
                                 {255, 255, 255, 50, 0},
                                 {255, 255, 0, 128, 255}});
    EXPECT_EQ(firstPixels(file),
              (Bytes{255, 255, 255, 255, 255, 0, 0, 0, 0, 25, 100, 50, 0, 255, 255}));
}

TEST(ZxLoadPsdFileAsImage, TakesIndexedColoursFromTheirTable)
{
    PsdFile file = filled(2, 1, 2, 8, {{0, 255}});
    file.palette.resize(768);
    for (size_t i = 0; i < 768; ++i)
        file.palette[i] = static_cast<uint8_t>(i / 256 * 10 + i % 256 / 255);
    EXPECT_EQ(firstPixels(file), (Bytes{20, 10, 0, 21, 11, 1}));
    // What follows the table is passed by.
    file.palette.resize(900, 7);
    EXPECT_EQ(firstPixels(file), (Bytes{20, 10, 0, 21, 11, 1}));
}

TEST(ZxLoadPsdFileAsImage, RefusesOtherKinds)
{
    const Bytes good = psdBytes(smallFile());
    ASSERT_TRUE(loads(good));
    EXPECT_FALSE(loads(with(good, 0, 'B', 1)));
    for (const uint64_t version : {0, 3, 256})
        EXPECT_FALSE(loads(with(good, 4, version, 2))) << version;
    for (const uint64_t channels : {0, 57, 65535})
        EXPECT_FALSE(loads(with(good, 12, channels, 2))) << channels;
    for (const uint64_t depth : {0, 1, 2, 24, 64})
        EXPECT_FALSE(loads(with(good, 22, depth, 2))) << depth;
    for (const uint64_t mode : {0, 5, 7, 8, 9, 65535})
        EXPECT_FALSE(loads(with(good, 24, mode, 2))) << mode;
    PsdFile indexed = filled(2, 1, 2, 8, {{0, 1}});
    indexed.palette.resize(767);
    EXPECT_FALSE(loads(psdBytes(indexed)));
    indexed.palette.resize(768);
    EXPECT_TRUE(loads(psdBytes(indexed)));
    EXPECT_FALSE(loads(with(psdBytes(indexed), 22, 16, 2)));
}

TEST(ZxLoadPsdFileAsImage, RefusesFilesThatCannotBeRead)
{
    EXPECT_EQ(ZxLoadPsdFileAsImage(nullptr), nullptr);
    EXPECT_EQ(ZxLoadPsdFileAsImage(""), nullptr);
    EXPECT_EQ(ZxLoadPsdFileAsImage("no such file.psd"), nullptr);
    EXPECT_EQ(ZxLoadPsdFileAsImage(std::filesystem::temp_directory_path().string().c_str()),
              nullptr);
}

// --- Layers ------------------------------------------------------------------------------------

TEST(ZxLoadPsdFileAsImage, LeavesOutDividersAndEmptyLayers)
{
    Random random(3);
    PsdFile file{9, 9};
    for (uint32_t divider = 0; divider <= 3; ++divider) {
        file.layers.push_back(psdRandomLayer(file, {1, 1, 3, 3}, true, false, random));
        file.layers.back().divider = divider;
    }
    for (const PsdArea& area : {PsdArea{0, 0, 0, 5}, PsdArea{4, 4, 5, 0}, PsdArea{4, 4, -2, -3}}) {
        file.layers.push_back(psdRandomLayer(file, {1, 1, 1, 1}, true, false, random));
        file.layers.back().area = area;
    }
    file.layers.push_back(psdRandomLayer(file, {2, 2, 4, 4}, true, false, random));
    EXPECT_EQ(psdFrames(file).size(), 2u);
    expectLoads(file);
}

TEST(ZxLoadPsdFileAsImage, CountsALayerWithoutAnyColourAsEmpty)
{
    Random random(4);
    PsdFile file{9, 9};
    file.layers.push_back(psdRandomLayer(file, {1, 1, 3, 3}, true, false, random));
    for (int32_t number = 0; number < 3; ++number)
        file.layers[0].channels.erase(number);
    const LoadedPsd loaded(psdBytes(file));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded.frameCount(), 0u);
}

TEST(ZxLoadPsdFileAsImage, RefusesALayerThatLacksOneOfItsColours)
{
    for (int32_t number = 0; number < 3; ++number) {
        PsdFile file = smallFile();
        file.layers[1].channels.erase(number);
        EXPECT_FALSE(loads(psdBytes(file)));
    }
}

TEST(ZxLoadPsdFileAsImage, PassesOverOtherChannels)
{
    Random random(5);
    PsdFile file{9, 9};
    file.layers.push_back(psdRandomLayer(file, {1, 1, 3, 3}, true, false, random));
    for (const int32_t number : {-4, -3, 3, 4, 900})
        file.layers[0].channels[number] = {1, 2, 3, 4};
    PsdFile expected = file;
    for (const int32_t number : {-4, -3, 3, 4, 900})
        expected.layers[0].channels.erase(number);
    // Their data is shorter than the layer, which nobody notices.
    expectFrames(LoadedPsd(psdBytes(file)), psdFrames(expected), 9, 9);
}

TEST(ZxLoadPsdFileAsImage, ClipsLayersAtEveryEdge)
{
    Random random(6);
    for (const int32_t left : {-20, -5, 0, 3, 9, 10, 40}) {
        for (const int32_t top : {-20, -5, 0, 3, 7, 8, 40}) {
            PsdFile file{10, 8};
            const PsdArea area{left, top, random.between(1, 24), random.between(1, 24)};
            file.layers.push_back(psdRandomLayer(file, area, true, false, random));
            file.layers.push_back(psdRandomLayer(file, area, false, true, random));
            expectLoads(file);
        }
    }
}

TEST(ZxLoadPsdFileAsImage, PlacesLayersAtTheLimitsOfTheirNumbers)
{
    Random random(7);
    for (const int32_t edge : {INT32_MIN, INT32_MIN + 1, INT32_MAX - 3}) {
        for (const bool across : {false, true}) {
            PsdFile file{10, 8};
            const PsdArea area = across ? PsdArea{edge, 0, 3, 3} : PsdArea{0, edge, 3, 3};
            file.layers.push_back(psdRandomLayer(file, area, true, false, random));
            expectLoads(file);
        }
    }
}

TEST(ZxLoadPsdFileAsImage, TakesANegativeCountOfLayers)
{
    const Bytes good = psdBytes(smallFile());
    expectFrames(LoadedPsd(with(good, countStart, 0xFFFE, 2)), psdFrames(smallFile()), 6, 5);
}

TEST(ZxLoadPsdFileAsImage, NeedsNothingAfterTheLayers)
{
    const PsdFile file = smallFile();
    Bytes bytes = psdBytes(file, 1000);
    expectFrames(LoadedPsd(bytes), psdFrames(file), 6, 5);
    append(bytes, Bytes(50, 0xEE));
    expectFrames(LoadedPsd(bytes), psdFrames(file), 6, 5);
}

TEST(ZxLoadPsdFileAsImage, FindsTheBlockOfLayersBehindOthers)
{
    Random random(61);
    for (const int32_t version : {1, 2}) {
        PsdFile file = randomFile(static_cast<uint16_t>(version), 16, 3, PsdCoding::raw, random);
        file.inBlock = true;
        for (file.bytesBefore = 1; file.bytesBefore < 5; ++file.bytesBefore) {
            for (file.blockAlign = 1; file.blockAlign < 5; file.blockAlign *= 2)
                expectLoads(file);
        }
        // More than any writer pads ends the blocks, and there are no layers.
        file.bytesBefore = 4;
        file.blockAlign = 8;
        const LoadedPsd loaded(psdBytes(file));
        ASSERT_TRUE(loaded);
        EXPECT_EQ(loaded.frameCount(), 0u);
    }
}

TEST(ZxLoadPsdFileAsImage, TakesLayersOfNothingButChannels)
{
    PsdFile file = smallFile();
    for (PsdLayer& layer : file.layers) {
        layer.mask.reset();
        layer.isBare = true;
    }
    expectLoads(file);
}

TEST(ZxLoadPsdFileAsImage, FindsNoFrameInAFlatPicture)
{
    Bytes bytes = psdHead(smallFile());
    appendBig(bytes, 0, 4);
    const LoadedPsd loaded(bytes);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded.frameCount(), 0u);
}

#if !defined(_WIN32)
TEST(ZxLoadPsdFileAsImage, RefusesAPipe)
{
    const TemporaryFile place{Bytes()};
    std::remove(place.name());
    ASSERT_EQ(mkfifo(place.name(), 0600), 0);
    // Held at both ends, so that nobody waits for the other one.
    std::FILE* const ends = std::fopen(place.name(), "r+b");
    const Bytes bytes = psdBytes(smallFile());
    ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), ends), bytes.size());
    std::fflush(ends);
    EXPECT_EQ(ZxLoadPsdFileAsImage(place.name()), nullptr);
    std::fclose(ends);
}
#endif

// --- Masks
// ----------------------------------------------------------------------------------------

TEST(ZxLoadPsdFileAsImage, TakesTheMaskBeforeTheTransparency)
{
    PsdFile file = smallFile();
    file.layers[0].mask = PsdMask{{2, 1, 2, 2}, 9, 0, {10, 20, 30, 40}};
    const LoadedPsd loaded(psdBytes(file));
    const Bytes nine(6, 9);
    Bytes expected = nine;
    append(expected, {9, 9, 10, 20, 9, 9});
    append(expected, {9, 9, 30, 40, 9, 9});
    append(expected, nine);
    append(expected, nine);
    expectBitmap(loaded.words()[24], expected, 6, 5, 8);
}

TEST(ZxLoadPsdFileAsImage, TakesADisabledMaskForNone)
{
    PsdFile file = smallFile();
    file.layers[0].mask->flags = 2;
    expectLoads(file);
    file.layers[0].channels.erase(-1);
    expectLoads(file); // no mask and no transparency: no bitmap
    EXPECT_FALSE(psdFrames(file)[0].mask);
    file.layers[0].mask->flags = 0xFD; // all but that
    expectLoads(file);
}

TEST(ZxLoadPsdFileAsImage, FillsTheCanvasForAMaskWithoutAnArea)
{
    PsdFile file = smallFile();
    file.layers[0].mask = PsdMask{{0, 0, 0, 0}, 255, 0, {}};
    expectLoads(file);
    EXPECT_EQ(*psdFrames(file)[0].mask, Bytes(30, 255));
}

TEST(ZxLoadPsdFileAsImage, RefusesAMaskWithoutRoomForItsFlags)
{
    const PsdFile file = smallFile();
    const Bytes good = psdBytes(file);
    Bytes mask = {0, 0, 0, 20};
    appendArea(mask, file.layers[0].mask->area);
    const auto place = std::search(good.begin(), good.end(), mask.begin(), mask.end());
    ASSERT_NE(place, good.end());
    const size_t length = static_cast<size_t>(place - good.begin()) + 3;
    Bytes bytes = good;
    for (const int32_t room : {1, 15, 16, 17}) {
        bytes[length] = static_cast<uint8_t>(room);
        EXPECT_FALSE(loads(bytes)) << room;
    }
}

TEST(ZxLoadPsdFileAsImage, TakesAMaskWithoutItsChannelForNone)
{
    const PsdFile file = smallFile();
    // The mask's channel is the last of the first layer's: it gets another number.
    Bytes bytes = psdBytes(file);
    const size_t numberOfMask = recordStart + 18 + 4 * 6;
    ASSERT_EQ(bytes[numberOfMask], 0xFF);
    ASSERT_EQ(bytes[numberOfMask + 1], 0xFE);
    PsdFile expected = file;
    expected.layers[0].mask.reset();
    expectFrames(LoadedPsd(with(bytes, numberOfMask, 77, 2)), psdFrames(expected), 6, 5);
}

// --- Runs
// -------------------------------------------------------------------------------------------

namespace
{

// A gray file of one row of eight pixels, of these runs.
Bytes fileOfRuns(const Bytes& runs)
{
    Bytes bytes = psdBytes(filled(8, 1, 1, 8, {PsdElements(8, 0)}));
    const size_t channel = 2 + 8;
    const size_t lengthAt = recordStart + 18 + 2;
    bytes.resize(bytes.size() - channel);
    append(bytes, {0, 1});
    appendBig(bytes, runs.size(), 2);
    append(bytes, runs);
    bytes = with(bytes, lengthAt, 4 + runs.size(), 4);
    const size_t section = bytes.size() - sectionStart - 4;
    bytes = with(bytes, sectionStart, section, 4);
    return with(bytes, sectionStart + 4, section - 4, 4);
}

} // namespace

TEST(ZxLoadPsdFileAsImage, ReadsRunsAndWhatLiesBetween)
{
    EXPECT_TRUE(loads(fileOfRuns({7, 1, 2, 3, 4, 5, 6, 7, 8})));
    EXPECT_TRUE(loads(fileOfRuns({249, 1})));
    EXPECT_TRUE(loads(fileOfRuns({128, 255, 1, 128, 128, 5, 1, 2, 3, 4, 5, 6, 128})));
    EXPECT_TRUE(loads(fileOfRuns({249, 1, 9, 9, 9}))); // what follows a row is not its
}

TEST(ZxLoadPsdFileAsImage, RefusesRunsThatAreNotTheRow)
{
    for (const Bytes& runs :
         {Bytes{6, 1, 2, 3, 4, 5, 6, 7}, Bytes{8, 1, 2, 3, 4, 5, 6, 7, 8, 9}, Bytes{250, 1},
          Bytes{248, 1}, Bytes{129, 1}, Bytes{7, 1, 2, 3, 4, 5, 6, 7}, Bytes{250, 1, 255},
          Bytes{128, 128}, Bytes{127, 1}})
        EXPECT_FALSE(loads(fileOfRuns(runs)));
}

// --- Hostile files
// -------------------------------------------------------------------------------------

TEST(ZxLoadPsdFileAsImage, RefusesAFileCutAtAnyByte)
{
    Random random(8);
    for (const PsdCoding coding : codings) {
        for (const uint16_t version : {uint16_t{1}, uint16_t{2}}) {
            const PsdFile file = randomFile(version, 8, 3, coding, random);
            const Bytes whole = psdBytes(file);
            const CountedBlocks blocks;
            for (size_t size = 0; size < whole.size();
                 size += size + 20 < whole.size() && size > 200 ? 61 : 1)
                ASSERT_FALSE(
                    loads(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size))))
                    << size << " of " << whole.size();
            EXPECT_EQ(blocks.live(), 0);
            EXPECT_TRUE(loads(whole));
        }
    }
}

TEST(ZxLoadPsdFileAsImage, SurvivesAnyByteChanged)
{
    for (const PsdCoding coding : codings) {
        const Bytes whole = psdBytes(smallFile(coding));
        const CountedBlocks blocks;
        for (size_t i = 0; i < whole.size(); ++i)
            for (const uint64_t value : {0x7F, 0xFF})
                LoadedPsd(with(whole, i, value, 1));
        EXPECT_EQ(blocks.live(), 0);
    }
}

TEST(ZxLoadPsdFileAsImage, RefusesLyingLengthsAndCounts)
{
    const Bytes good = psdBytes(smallFile());
    const CountedBlocks blocks;
    // Palette, resources, layers, channels, of a record, of its parts.
    const size_t firstLength = recordStart + 18 + 2;
    const size_t extraLength = recordStart + 18 + 5 * 6 + 12;
    for (const uint64_t lie : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 1000000u}) {
        for (const size_t offset :
             {size_t{26}, size_t{30}, sectionStart + 4, firstLength, firstLength + 6, extraLength,
              extraLength + 4, extraLength + 4 + 24, extraLength + 4 + 24 + 4 + 8 + 8})
            EXPECT_FALSE(loads(with(good, offset, lie, 4))) << offset << ", " << lie;
    }
    for (const uint64_t layers : {3, 1000, 32767, 32768, 65000})
        EXPECT_FALSE(loads(with(good, countStart, layers, 2))) << layers;
    for (const uint64_t channels : {6, 1000, 65535})
        EXPECT_FALSE(loads(with(good, recordStart + 16, channels, 2))) << channels;
    EXPECT_LE(blocks.asked(), 0);
}

TEST(ZxLoadPsdFileAsImage, RefusesLyingRectanglesWithoutTakingMemory)
{
    for (const PsdCoding coding : codings) {
        const Bytes good = psdBytes(smallFile(coding));
        const CountedBlocks blocks;
        const uint64_t edges[][4] = {
            {0x80000000, 0x80000000, 0x7FFFFFFF, 0x7FFFFFFF}, // top, left, bottom, right
            {0, 0, 0x7FFFFFFF, 1},
            {0, 0, 1, 0x7FFFFFFF},
            {0x80000000, 0, 0x7FFFFFFF, 4},
            {0, 0x80000000, 3, 0x7FFFFFFF},
            {0, 0, 65536, 65536},
            {1, 1, 40000, 5},
            {1, 1, 4, 40000},
        };
        for (const auto& edge : edges) {
            Bytes bytes = good;
            for (size_t i = 0; i < 4; ++i)
                bytes = with(bytes, recordStart + 4 * i, edge[i], 4);
            EXPECT_FALSE(loads(bytes));
            Bytes masked = good;
            const size_t mask = recordStart + 18 + 5 * 6 + 12 + 4 + 4;
            for (size_t i = 0; i < 4; ++i)
                masked = with(masked, mask + 4 * i, edge[i], 4);
            EXPECT_FALSE(loads(masked));
        }
        if (coding == PsdCoding::raw || coding == PsdCoding::runs) {
            EXPECT_EQ(blocks.asked(), 0);
        }
        EXPECT_LT(blocks.bytes(), 20000u);
        EXPECT_EQ(blocks.live(), 0);
    }
}

TEST(ZxLoadPsdFileAsImage, RefusesCanvasesOfNoSizeAndOfTooMuch)
{
    const Bytes good = psdBytes(smallFile());
    const CountedBlocks blocks;
    const uint64_t sizes[][2] = {{0, 5},         {5, 0},          {30001, 1},      {1, 30001},
                                 {30000, 30000}, {0xFFFFFFFF, 1}, {1, 0xFFFFFFFF}, {0x80000000, 2}};
    for (const auto& size : sizes)
        EXPECT_FALSE(loads(with(with(good, 14, size[0], 4), 18, size[1], 4)));
    EXPECT_EQ(blocks.asked(), 0);
    PsdFile large = smallFile();
    large.version = 2;
    const Bytes goodLarge = psdBytes(large);
    EXPECT_TRUE(loads(with(with(goodLarge, 14, 30001, 4), 18, 40, 4)));
    EXPECT_FALSE(loads(with(with(goodLarge, 14, 300001, 4), 18, 1, 4)));
    EXPECT_FALSE(loads(with(with(goodLarge, 14, 23171, 4), 18, 23171, 4)));
}

TEST(ZxLoadPsdFileAsImage, TakesNoMoreMemoryThanThePixelsAccountFor)
{
    // Two frames of 32 bits with masks on a canvas just past 128 MiB.
    PsdFile file = smallFile();
    file.width = 3800;
    file.height = 3600;
    {
        const CountedBlocks blocks;
        EXPECT_FALSE(loads(psdBytes(file)));
        EXPECT_EQ(blocks.asked(), 0);
    }
    // A mask that is larger than its layer adds to what the file holds.
    PsdMask& mask = *file.layers[0].mask;
    const PsdMask given = mask;
    mask.area = {0, 0, 40, 40};
    mask.elements.assign(1600, 9);
    EXPECT_FALSE(loads(psdBytes(file)));
    mask = given;
    // A layer that holds a sixteenth of that makes up for it.
    PsdLayer& layer = file.layers[1];
    layer.area = {0, 0, 3800, 640};
    layer.coding = PsdCoding::runs;
    for (auto& [number, elements] : layer.channels)
        elements.assign(size_t{3800} * 640, static_cast<uint32_t>(number + 50));
    EXPECT_TRUE(loads(psdBytes(file)));

    // So do many frames of small layers on a canvas that is none too large.
    PsdFile many = smallFile();
    many.width = 1000;
    many.height = 1000;
    many.layers.resize(1);
    const PsdLayer one = many.layers[0];
    many.layers.assign(27, one);
    const CountedBlocks blocks;
    EXPECT_FALSE(loads(psdBytes(many)));
    EXPECT_EQ(blocks.asked(), 0);
    many.layers.resize(26);
    EXPECT_TRUE(loads(psdBytes(many)));
}

TEST(ZxLoadPsdFileAsImage, GivesNullWhenMemoryRunsOut)
{
    for (const PsdCoding coding : codings) {
        const TemporaryFile file(psdBytes(smallFile(coding)));
        bool ranOut = true;
        for (int32_t passing = 0; ranOut; ++passing) {
            const CountedBlocks blocks;
            HGLOBAL image = nullptr;
            {
                const FailingAllocation failing(passing);
                image = ZxLoadPsdFileAsImage(file.name());
                ranOut = failing.asked() > passing;
            }
            // The file's own buffer is no need of the reader's.
            if (ranOut && passing > 1) {
                EXPECT_EQ(image, nullptr) << passing;
                EXPECT_EQ(blocks.live(), 0) << passing;
            }
            ZxImageDelete(image);
            EXPECT_EQ(blocks.live(), 0) << passing;
        }
    }
}

TEST(ZxLoadPsdFileAsImage, GivesNullWhenGlobalMemoryRunsOut)
{
    if (!blocksAreCounted)
        GTEST_SKIP() << "global memory is the system's own here";
    const TemporaryFile file(psdBytes(smallFile()));
    for (int32_t passing = 0; passing < 5; ++passing) {
        const CountedBlocks blocks(passing);
        EXPECT_EQ(ZxLoadPsdFileAsImage(file.name()), nullptr);
        EXPECT_EQ(blocks.asked(), passing + 1);
        EXPECT_EQ(blocks.live(), 0);
    }
    const CountedBlocks blocks(5);
    ZxImageDelete(ZxLoadPsdFileAsImage(file.name()));
    EXPECT_EQ(blocks.live(), 0);
}
